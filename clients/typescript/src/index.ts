// A client of verda-server for a point-of-sale program, in the browser or in
// Node: every route typed from the server's OpenAPI document (./openapi.ts,
// generated: `npm run generate`), and a sale that is committed once however
// often the network fails under it.
//
//   const till = new VerdaClient({ baseUrl: "http://127.0.0.1:8035", device: "front" });
//   const key = crypto.randomUUID();          // the sale's own key: keep it until the answer is final
//   const done = await till.sell({ lines: [{ name: "Хлеб", price: 45.5 }] }, { key });
//   print(done.receipt, done.sign);
//
// sell() repeats the request with the same Idempotency-Key after a timeout,
// a lost connection, a 202 (the server settles a receipt whose link failed
// while it was being closed) or a 5xx without an answer, until the answer is
// final: committed (its value) or an error below. The server writes every
// request into its journal before it touches the register and answers a
// repeat with the recorded answer, so a repeat never sells twice.

import createFetchClient, { type Client } from "openapi-fetch";

import type { components, paths } from "./openapi.js";

export type { components, operations, paths } from "./openapi.js";

type Schemas = components["schemas"];
export type ReceiptRequest = Schemas["ReceiptRequest"];
export type ReceiptCommitted = Schemas["ReceiptCommitted"];
/** A receipt whose outcome a person settled by hand: only its fiscal document is known. */
export type SettledByHand = Schemas["SettledByHand"];

/** Whether a committed answer is a settlement by hand rather than the printed receipt's figures. */
export function settledByHand(answer: ReceiptCommitted | SettledByHand): answer is SettledByHand {
    return "settled" in answer;
}
export type Pending = Schemas["Pending"];
export type ErrorBody = Schemas["Error"];

/** The final states of a request that did not commit, as the server's journal names them. */
export type FailedState = NonNullable<ErrorBody["state"]>;

/** What the server answered, when it was not a success. */
export class VerdaError extends Error {
    /** The HTTP status. */
    readonly status: number;
    /** The request's state in the server's journal, when the answer gives it. */
    readonly state: FailedState | undefined;
    /** The result code: the register's error, 100001 for a failed exchange, or the server's own. */
    readonly code: number;
    /** The Russian text of the code, or the server's text. */
    readonly text: string;
    /** The field of the request the error is about (`lines[1].price`), or null. */
    readonly field: string | null;
    /** The register's operation that failed, when the register refused. */
    readonly operation: string | undefined;

    constructor(status: number, body: ErrorBody | undefined) {
        const error = body?.error;
        super(error ? `${status}: ${error.text}${error.field ? ` (${error.field})` : ""}` : `HTTP ${status}`);
        this.name = new.target.name;
        this.status = status;
        this.state = body?.state;
        this.code = error?.code ?? 0;
        this.text = error?.text ?? "";
        this.field = error?.field ?? null;
        this.operation = error?.operation;
    }
}

/** 400: the request is wrong (`field` names where); nothing reached the register. */
export class BadInputError extends VerdaError {}
/** 401: no token, or a wrong one. */
export class UnauthorizedError extends VerdaError {}
/** 404: no such register (or route). */
export class NotFoundError extends VerdaError {}
/** 409: the key was used before with another body: this is another sale, give it a key of its own. */
export class KeyReusedError extends VerdaError {}
/**
 * 422: the register refused (`code`, `text`, `operation`; for a line, `field`), and the
 * receipt was cancelled: nothing was sold.
 */
export class RefusedError extends VerdaError {}
/**
 * 503: nothing was sold: the register stayed offline until the deadline (`state` "not-sent"),
 * or the server found that the request did not take effect ("not-committed"). The same
 * key may be sent again, and then the sale runs again.
 */
export class NotCommittedError extends VerdaError {}
/** 504: a request that cannot fiscalise lost its link; it did not take effect. */
export class NoReplyError extends VerdaError {}

const ERRORS: Record<number, new (status: number, body: ErrorBody | undefined) => VerdaError> = {
    400: BadInputError,
    401: UnauthorizedError,
    404: NotFoundError,
    409: KeyReusedError,
    422: RefusedError,
    503: NotCommittedError,
    504: NoReplyError,
};

/** One try of sell(), as its onAttempt sees it. */
export interface Attempt {
    /** 1 for the first. */
    number: number;
    /** The HTTP status, when an answer came. */
    status?: number;
    /** The request's state, when the answer gives one ("ambiguous", "committed", ...). */
    state?: string;
    /** What went wrong without an answer: a timeout or a lost connection. */
    error?: unknown;
}

export interface SellOptions {
    /**
     * The sale's Idempotency-Key, made by the POS once for this sale (a UUID) and kept,
     * with the receipt, until the answer is final: after a crash of the POS, send the same
     * receipt with the same key, and the server answers what became of it.
     */
    key: string;
    /** The time limit of each try, in ms (default 35000: the server's deadline and then some). */
    attemptTimeoutMs?: number;
    /** How long the server may wait for an offline register (X-Deadline-Ms; the server's default 30000). */
    deadlineMs?: number;
    /** The pause before the first repeat, in ms, doubled after each up to maxDelayMs (default 200). */
    retryDelayMs?: number;
    /** The longest pause between repeats, in ms (default 5000). */
    maxDelayMs?: number;
    /**
     * Gives up: sell() rejects with the signal's reason. The sale's outcome is then not
     * known: send it again later with the same key.
     */
    signal?: AbortSignal;
    /** Called after each try. */
    onAttempt?: (attempt: Attempt) => void;
}

export interface ClientOptions {
    /** The server, "http://127.0.0.1:8035". */
    baseUrl: string;
    /** The register's id in the server's configuration ("sim" for its built-in simulated one). */
    device: string;
    /** The server's token, when it has one. */
    token?: string;
    /** A fetch of one's own (tests, a proxy); the global one by default. */
    fetch?: typeof globalThis.fetch;
}

export class VerdaClient {
    /** Every route of the server, typed: `client.api.GET("/devices/{id}", ...)`. */
    readonly api: Client<paths>;
    readonly device: string;

    constructor(options: ClientOptions) {
        this.device = options.device;
        const fetch = options.fetch ?? globalThis.fetch;
        this.api = createFetchClient<paths>({
            baseUrl: options.baseUrl.replace(/\/+$/, ""),
            headers: options.token ? { Authorization: `Bearer ${options.token}` } : {},
            // Looked up at each call, so that a fetch replaced later (tests) is used.
            fetch: (request: Request) => fetch(request),
        });
    }

    /**
     * Rings up a whole receipt on the client's register and resolves to it once committed
     * (or, for a key whose outcome a person settled by hand, to that settlement); rejects with a VerdaError subclass when the answer is final and not committed, or with
     * the signal's reason when given up.
     */
    async sell(receipt: ReceiptRequest, options: SellOptions): Promise<ReceiptCommitted | SettledByHand> {
        const timeout = options.attemptTimeoutMs ?? 35000;
        const most = options.maxDelayMs ?? 5000;
        let delay = options.retryDelayMs ?? 200;
        for (let number = 1; ; ++number) {
            options.signal?.throwIfAborted();
            const attempt: Attempt = { number };
            const tryTimeout = AbortSignal.timeout(timeout);
            const signal = options.signal ? AbortSignal.any([options.signal, tryTimeout]) : tryTimeout;
            try {
                const header: { "Idempotency-Key": string; "X-Deadline-Ms"?: number } = {
                    "Idempotency-Key": options.key,
                };
                if (options.deadlineMs !== undefined) header["X-Deadline-Ms"] = options.deadlineMs;
                const { data, error, response } = await this.api.POST("/devices/{id}/receipts", {
                    params: { path: { id: this.device }, header },
                    body: receipt,
                    signal,
                });
                attempt.status = response.status;
                attempt.state = (data as { state?: string } | undefined)?.state ?? error?.state;
                options.onAttempt?.(attempt);
                if (response.status === 200 && data && data.state === "committed") return data;
                const final = ERRORS[response.status];
                if (final && error?.error) throw new final(response.status, error);
                // 202 (the server settles it), or an answer that is not the server's: repeat.
            } catch (thrown) {
                if (thrown instanceof VerdaError) throw thrown;
                options.signal?.throwIfAborted();
                attempt.error = thrown;
                options.onAttempt?.(attempt);
            }
            await pause(delay, options.signal);
            delay = Math.min(delay * 2, most);
        }
    }
}

function pause(ms: number, signal: AbortSignal | undefined): Promise<void> {
    return new Promise((resolve, reject) => {
        if (signal?.aborted) return reject(signal.reason);
        const timer = setTimeout(() => {
            signal?.removeEventListener("abort", stop);
            resolve();
        }, ms);
        const stop = () => {
            clearTimeout(timer);
            reject(signal?.reason);
        };
        signal?.addEventListener("abort", stop, { once: true });
    });
}
