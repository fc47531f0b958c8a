// The whole story of a person before the pages: ./run, its web server, the endpoint, the application and the scene are
// the real ones.

import assert from "node:assert/strict";
import { test } from "node:test";
import "./story/first.mjs";
import "./story/area.mjs";
import "./story/fields.mjs";
import "./story/log.mjs";
import "./story/files.mjs";
import "./story/refusals.mjs";
import { visitor } from "./story/setting.mjs";

test("the browser had nothing to complain of", () => assert.deepEqual(visitor.complaints, []));
