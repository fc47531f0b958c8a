// The pages under a hand: typed in, dragged, touched. Nothing jumps, nothing is lost, nothing has to be done twice.

import assert from "node:assert/strict";
import { test } from "node:test";
import "./hand/fields.mjs";
import "./hand/layout.mjs";
import "./hand/keys.mjs";
import "./hand/fingers.mjs";
import { visitor } from "./hand/setting.mjs";

test("the browser had nothing to complain of", () => assert.deepEqual(visitor.complaints, []));
