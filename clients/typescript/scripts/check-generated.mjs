// Fails when src/openapi.ts is not what openapi-typescript makes of the
// server's OpenAPI document now: the generated types are never edited by
// hand, only made again with `npm run generate`.
import { execFileSync } from "node:child_process";
import { mkdtempSync, readFileSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const root = join(dirname(fileURLToPath(import.meta.url)), "..");
const folder = mkdtempSync(join(tmpdir(), "verda-openapi-"));
try {
    const made = join(folder, "openapi.ts");
    execFileSync(join(root, "node_modules", ".bin", "openapi-typescript"),
                 [join(root, "..", "..", "server", "openapi.json"), "--output", made],
                 { stdio: ["ignore", "ignore", "inherit"] });
    if (readFileSync(made, "utf8") !== readFileSync(join(root, "src", "openapi.ts"), "utf8")) {
        console.error("clients/typescript/src/openapi.ts is not what server/openapi.json makes: " +
                      "run `npm run generate` in clients/typescript");
        process.exit(1);
    }
    console.log("src/openapi.ts is what server/openapi.json makes");
} finally {
    rmSync(folder, { recursive: true, force: true });
}
