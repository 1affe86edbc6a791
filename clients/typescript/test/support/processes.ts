// The tests' programs: verda-server and verda-sim processes on free loopback
// ports (VERDA_SERVER and VERDA_SIM name them), and a relay that loses what
// a shop's network loses.

import { type ChildProcess, spawn } from "node:child_process";
import { mkdtempSync, rmSync } from "node:fs";
import net from "node:net";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { createInterface } from "node:readline";

function program(variable: string): string {
    const path = process.env[variable];
    if (!path) throw new Error(`${variable} names no program: the build's test sets it`);
    return path;
}

/** A process whose first line of standard output says where it listens. */
class Listening {
    readonly folder: string;
    process!: ChildProcess;
    address = "";

    constructor(prefix: string) {
        this.folder = mkdtempSync(join(tmpdir(), prefix));
    }

    async start(path: string, args: string[]): Promise<void> {
        const child = spawn(path, args, { stdio: ["ignore", "pipe", "pipe"] });
        this.process = child;
        let errors = "";
        child.stderr!.on("data", (chunk: Buffer) => {
            errors = (errors + chunk.toString()).slice(-4000);
        });
        const lines = createInterface({ input: child.stdout! });
        this.address = await new Promise<string>((resolve, reject) => {
            lines.once("line", (line) => resolve(line.trim()));
            child.once("exit", (code) => reject(new Error(`${path} ended (${code}): ${errors}`)));
        });
        lines.on("line", () => {});  // the rest is read and dropped
    }

    async stop(): Promise<void> {
        if (this.process.exitCode === null && this.process.signalCode === null) {
            const ended = new Promise((resolve) => this.process.once("exit", resolve));
            this.process.kill("SIGTERM");
            await ended;
        }
        rmSync(this.folder, { recursive: true, force: true });
    }
}

/** verda-server: with no --device, its built-in simulated register "sim". */
export async function startServer(...args: string[]): Promise<Listening & { url: string }> {
    const server = new Listening("verda-server-");
    await server.start(program("VERDA_SERVER"), [
        "--listen", "127.0.0.1:0", "--journal", join(server.folder, "journal.db"), ...args]);
    if (!server.address.startsWith("http://127.0.0.1:")) {
        await server.stop();
        throw new Error(`verda-server printed ${server.address}`);
    }
    return Object.assign(server, { url: server.address });
}

/** verda-sim on TCP; its --device for the server. */
export async function startSim(...args: string[]): Promise<Listening & { device: string }> {
    const sim = new Listening("verda-sim-");
    await sim.start(program("VERDA_SIM"), [
        "--tcp", "127.0.0.1:0", "--state", join(sim.folder, "state"),
        "--paper", join(sim.folder, "paper"), ...args]);
    return Object.assign(sim, { device: `tcp:${sim.address}` });
}

/**
 * What the relay does to one connection from the client:
 * - "pass": carries both ways;
 * - "cut-request": passes the first 16 bytes of the request, then closes both ends
 *   (the server never sees a whole request);
 * - "drop-reply": passes the request, and closes both ends when the answer starts
 *   (the server did the work, the client never hears);
 * - "hold-reply": passes the request and never the answer, until the client goes.
 */
export type Fault = "pass" | "cut-request" | "drop-reply" | "hold-reply";

/** A TCP relay to the server whose n-th connection suffers plan[n] (then "pass"). */
export class Relay {
    private readonly listener: net.Server;
    private readonly sockets = new Set<net.Socket>();
    connections = 0;

    private constructor(target: URL, private readonly plan: Fault[]) {
        this.listener = net.createServer((client) => this.carry(client, target));
    }

    static async to(url: string, plan: Fault[]): Promise<Relay & { url: string }> {
        const relay = new Relay(new URL(url), plan);
        await new Promise<void>((resolve) => relay.listener.listen(0, "127.0.0.1", resolve));
        const { port } = relay.listener.address() as net.AddressInfo;
        return Object.assign(relay, { url: `http://127.0.0.1:${port}` });
    }

    private carry(client: net.Socket, target: URL): void {
        const fault = this.plan[this.connections++] ?? "pass";
        const server = net.connect(Number(target.port), target.hostname);
        for (const socket of [client, server]) {
            this.sockets.add(socket);
            socket.on("close", () => this.sockets.delete(socket));
            socket.on("error", () => {});
        }
        const end = () => {
            client.destroy();
            server.destroy();
        };
        client.on("close", end);
        server.on("close", end);
        let passed = 0;
        client.on("data", (chunk: Buffer) => {
            if (fault === "cut-request") {
                server.write(chunk.subarray(0, Math.max(0, 16 - passed)));
                passed += chunk.length;
                if (passed >= 16) end();
            } else {
                server.write(chunk);
            }
        });
        server.on("data", (chunk: Buffer) => {
            if (fault === "drop-reply") end();
            else if (fault !== "hold-reply") client.write(chunk);
        });
    }

    async close(): Promise<void> {
        for (const socket of this.sockets) socket.destroy();
        await new Promise((resolve) => this.listener.close(resolve));
    }
}
