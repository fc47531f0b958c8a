#pragma once

/** The Unix socket on which the web server in front finds the application; in its own package folder. */
inline constexpr auto kListeningSocket = "/usr/local/packages/korvex_orvel/html/korvex_orvel_fcgi.socket";

/** Opens it with libfcgi, for everybody to write to; -1 where that cannot be done, on which accepting fails. */
int open_listening_socket();
