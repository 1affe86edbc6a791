// The client against running verda-server processes, as a POS uses it: a
// sale committed once whatever the network loses on the way, and every
// final answer a typed error.

import assert from "node:assert/strict";
import { randomUUID } from "node:crypto";
import { after, before, describe, test } from "node:test";

import {
    type Attempt,
    BadInputError,
    KeyReusedError,
    NotFoundError,
    type ReceiptCommitted,
    type ReceiptRequest,
    RefusedError,
    type SettledByHand,
    settledByHand,
    UnauthorizedError,
    VerdaClient,
    VerdaError,
} from "../src/index.js";
import { Relay, startServer, startSim } from "./support/processes.js";

const BREAD: ReceiptRequest = {
    cashier: "Иванова",
    lines: [{ name: "Хлеб", price: 45.5, quantity: 2 }, { name: "Молоко", price: 79.9, tax: 2 }],
    payments: [{ mode: "card" }],
};
const TOTAL = 170.9;

async function openShift(client: VerdaClient): Promise<void> {
    const { response } = await client.api.POST("/devices/{id}/shift/open", {
        params: { path: { id: client.device }, header: { "Idempotency-Key": randomUUID() } },
        body: {},
    });
    assert.equal(response.status, 200);
}

/** The printed receipt's figures; these tests settle nothing by hand. */
function printed(answer: ReceiptCommitted | SettledByHand): ReceiptCommitted {
    assert.ok(!settledByHand(answer), "a printed receipt, not a settlement by hand");
    return answer;
}

/** The sales of the shift so far, by the register's X report (all tax groups). */
async function sales(client: VerdaClient): Promise<number> {
    const { data } = await client.api.POST("/devices/{id}/x-report", {
        params: { path: { id: client.device }, header: { "Idempotency-Key": randomUUID() } },
    });
    assert.ok(data && "sales" in data && data.sales, "the X report");
    return Math.round(data.sales.reduce((sum, value) => sum + value, 0) * 100) / 100;
}

describe("a server with its simulated register", () => {
    let server: Awaited<ReturnType<typeof startServer>>;
    let client: VerdaClient;

    before(async () => {
        server = await startServer();
        client = new VerdaClient({ baseUrl: server.url, device: "sim" });
        await openShift(client);
    });
    after(() => server.stop());

    test("a sale is committed, and its repeat is the same answer without a second sale", async () => {
        const before = await sales(client);
        const key = randomUUID();
        const attempts: Attempt[] = [];
        const first = await client.sell(BREAD, { key, onAttempt: (a) => attempts.push(a) });
        assert.equal(first.state, "committed");
        assert.equal(printed(first).total, TOTAL);
        assert.deepEqual(attempts, [{ number: 1, status: 200, state: "committed" }]);
        assert.deepEqual(await client.sell(BREAD, { key }), first);
        assert.equal(await sales(client), Math.round((before + TOTAL) * 100) / 100);
    });

    test("a sale pays by every payment mode that the register's settings name", async () => {
        const { data, response } = await client.api.GET("/devices/{id}/settings", {
            params: { path: { id: client.device } },
        });
        assert.equal(response.status, 200);
        assert.ok(data && data.tax_groups.length === 6, "a rate for each tax group");
        const modes = data.payment_modes.map((m) => m.name);
        assert.ok(modes.length > 0);
        const before = await sales(client);
        for (const mode of modes) {
            const sold = await client.sell({ ...BREAD, payments: [{ mode }] }, { key: randomUUID() });
            assert.equal(printed(sold).total, TOTAL);
        }
        assert.equal(await sales(client), Math.round((before + modes.length * TOTAL) * 100) / 100);
    });

    test("final answers are typed errors, and none is repeated", async () => {
        const reused = randomUUID();
        await client.sell(BREAD, { key: reused });
        const cases: Array<{
            what: string;
            client?: VerdaClient;
            receipt: ReceiptRequest;
            key?: string;
            error: new (...args: never[]) => VerdaError;
            status: number;
            check?: (error: VerdaError) => void;
        }> = [
            {
                what: "a negative price",
                receipt: { lines: [{ name: "Хлеб", price: -1 }] },
                error: BadInputError,
                status: 400,
                check: (e) => assert.equal(e.field, "lines[0].price"),
            },
            {
                what: "an article the register does not hold",
                receipt: { lines: [{ article: 999999 }] },
                error: RefusedError,
                status: 422,
                check: (e) => {
                    assert.equal(e.state, "refused");
                    assert.equal(e.operation, "RegisterArticleSale");
                    assert.ok(e.code > 0 && e.text.length > 0);
                },
            },
            {
                what: "a register the server does not have",
                client: new VerdaClient({ baseUrl: server.url, device: "nowhere" }),
                receipt: BREAD,
                error: NotFoundError,
                status: 404,
            },
            {
                what: "a key used before for another receipt",
                receipt: { lines: [{ name: "Соль", price: 20 }] },
                key: reused,
                error: KeyReusedError,
                status: 409,
            },
        ];
        const before = await sales(client);
        for (const c of cases) {
            const attempts: Attempt[] = [];
            const sale = (c.client ?? client).sell(c.receipt, {
                key: c.key ?? randomUUID(),
                onAttempt: (a) => attempts.push(a),
            });
            await assert.rejects(sale, (error: unknown) => {
                assert.ok(error instanceof c.error, `${c.what}: ${String(error)}`);
                assert.equal(error.status, c.status, c.what);
                c.check?.(error);
                return true;
            });
            assert.equal(attempts.length, 1, c.what);
        }
        assert.equal(await sales(client), before, "nothing was sold");
    });

    test("lost connections and a timeout are repeated with the same key; the register sells once", async () => {
        // The first try is cut in the middle of its request, the second loses the
        // answer of a receipt the server committed, the third waits for an answer
        // that never comes; the fourth gets through.
        const relay = await Relay.to(server.url, ["cut-request", "drop-reply", "hold-reply"]);
        try {
            const through = new VerdaClient({ baseUrl: relay.url, device: "sim" });
            const before = await sales(client);
            const attempts: Attempt[] = [];
            const sold = await through.sell(BREAD, {
                key: randomUUID(),
                attemptTimeoutMs: 1000,
                retryDelayMs: 10,
                onAttempt: (a) => attempts.push(a),
            });
            assert.equal(sold.state, "committed");
            assert.deepEqual(attempts.map((a) => a.status), [undefined, undefined, undefined, 200]);
            assert.ok(attempts.slice(0, 3).every((a) => a.error !== undefined));
            assert.equal(relay.connections, 4);
            assert.equal(await sales(client), Math.round((before + printed(sold).total) * 100) / 100);
        } finally {
            await relay.close();
        }
    });

    test("a sale given up is not sold twice when it is sent again later", async () => {
        const relay = await Relay.to(server.url, ["drop-reply"]);
        try {
            const through = new VerdaClient({ baseUrl: relay.url, device: "sim" });
            const before = await sales(client);
            const key = randomUUID();
            const giveUp = new AbortController();
            await assert.rejects(
                through.sell(BREAD, {
                    key,
                    signal: giveUp.signal,
                    onAttempt: () => giveUp.abort(new Error("closing")),
                }),
                /closing/);
            const sold = await through.sell(BREAD, { key });
            assert.equal(await sales(client), Math.round((before + printed(sold).total) * 100) / 100);
        } finally {
            await relay.close();
        }
    });
});

describe("a server with a token", () => {
    test("a sale without the token is refused, with it sold", async () => {
        const server = await startServer("--token", "s3cret");
        try {
            const without = new VerdaClient({ baseUrl: server.url, device: "sim" });
            await assert.rejects(without.sell(BREAD, { key: randomUUID() }), UnauthorizedError);
            const till = new VerdaClient({ baseUrl: server.url, device: "sim", token: "s3cret" });
            await openShift(till);
            assert.equal(printed(await till.sell(BREAD, { key: randomUUID() })).total, TOTAL);
        } finally {
            await server.stop();
        }
    });
});

describe("a register whose link fails while a receipt is closed", () => {
    test("202 is repeated until the server has settled the receipt, which is sold once", async () => {
        const sim = await startSim("--hang-up-after", "CloseFiscalInv");
        const server = await startServer("--device", `shop=${sim.device}`);
        try {
            const till = new VerdaClient({ baseUrl: server.url, device: "shop" });
            await openShift(till);
            const before = await sales(till);
            const attempts: Attempt[] = [];
            const sold = await till.sell(BREAD, {
                key: randomUUID(),
                retryDelayMs: 20,
                onAttempt: (a) => attempts.push(a),
            });
            assert.equal(sold.state, "committed");
            assert.deepEqual(attempts[0], { number: 1, status: 202, state: "ambiguous" });
            assert.equal(attempts.at(-1)?.status, 200);
            assert.equal(await sales(till), Math.round((before + TOTAL) * 100) / 100);
        } finally {
            await server.stop();
            await sim.stop();
        }
    });
});
