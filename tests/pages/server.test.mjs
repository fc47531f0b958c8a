// What the web server lets through, and what not. Each case goes through ./run's own lighttpd.

import "./server/callers.mjs";
import "./server/load.mjs";
import "./server/options.mjs";
import "./server/doors.mjs";
