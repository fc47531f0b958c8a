// The pages for every eye, before the double.

import assert from "node:assert/strict";
import { test } from "node:test";
import "./host/access.mjs";
import { complaints } from "./host/setting.mjs";

test("the browser had nothing to complain of", () => assert.deepEqual(complaints, []));
