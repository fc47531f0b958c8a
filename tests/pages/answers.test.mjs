// What a person meets whose camera answers late, breaks off or shows nothing.

import "./trouble/accepted.mjs";
import "./trouble/answers.mjs";
import "./trouble/streams.mjs";
import "./trouble/advanced.mjs";
import "./trouble/turned.mjs";
