// Times the peer on a file of detections, a pass a line: node track.mjs MODULES FILE; prints microseconds a pass.
// Three rounds, of which the best counts: the peer's code is compiled while it runs.
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { resolve } from "node:path";

const [modules, file] = process.argv.slice(2);
const { Tracker } = createRequire(resolve(modules, "node_modules/"))("node-moving-things-tracker");

let best = Infinity;
for (let round = 0; round < 3; ++round) {
    // Parsed anew: the tracker keeps the objects that it is given.
    const passes = readFileSync(file, "utf8").trimEnd().split("\n").map((line) => JSON.parse(line));
    Tracker.reset();
    let tracked = 0;
    const start = process.hrtime.bigint();
    for (const { frame, detections } of passes) {
        Tracker.updateTrackedItemsWithNewFrame(detections, frame);
        tracked += Tracker.getJSONOfTrackedItems().length;
    }
    const microseconds = Number(process.hrtime.bigint() - start) / 1000 / passes.length;
    if (tracked < passes.length) throw new Error(`the peer tracked ${tracked} objects in ${passes.length} passes`);
    best = Math.min(best, microseconds);
}
console.log(best.toFixed(2));
