// What a person meets who is not alone, or whose saves are slow, refused, lost or not stored.

import "./trouble/together.mjs";
import "./trouble/saves.mjs";
import "./trouble/storing.mjs";
