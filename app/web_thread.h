#pragma once

/**
 * Ends the web service before its objects are destroyed: the thread's listening socket is shut down, and the thread, if
 * there is one, has the time of one request to come to its end. False when it has not, because a client neither sends
 * nor takes what it should; the process-wide objects must not be destroyed then. Main thread, once, at the very end.
 */
bool end_web_service();
