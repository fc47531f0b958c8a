// The pages before a double of a camera or a host, which answers at once and says what no scene would come to.

import assert from "node:assert/strict";
import { test } from "node:test";
import "./host/mending.mjs";
import "./host/states.mjs";
import "./host/objects.mjs";
import "./host/history.mjs";
import "./host/told.mjs";
import "./host/editor.mjs";
import "./host/fingers.mjs";
import { complaints } from "./host/setting.mjs";

test("the browser had nothing to complain of", () => assert.deepEqual(complaints, []));
