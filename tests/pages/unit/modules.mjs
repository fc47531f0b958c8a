// The pages' modules outside a browser. They are served as files and so stand in no package; here they get one that
// says they are modules.

import { cpSync, mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { fileURLToPath, pathToFileURL } from "node:url";

export const html = fileURLToPath(new URL("../../../html", import.meta.url));

const folder = mkdtempSync(join(tmpdir(), "korvex_modules_"));
process.on("exit", () => rmSync(folder, { recursive: true, force: true }));
cpSync(join(html, "js"), folder, { recursive: true });
writeFileSync(join(folder, "package.json"), '{ "type": "module" }');

let loads = 0;
/** As a page has it that was loaded now. @param {string} name @returns {Promise<any>} */
export const load = (name) => import(`${pathToFileURL(join(folder, name)).href}?${++loads}`);
