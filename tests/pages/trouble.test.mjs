// What a person meets who is not alone, or whose camera is slow, breaks off or shows nothing.

import "./trouble/together.mjs";
import "./trouble/saves.mjs";
import "./trouble/storing.mjs";
import "./trouble/answers.mjs";
import "./trouble/streams.mjs";
import "./trouble/advanced.mjs";
import "./trouble/turned.mjs";
