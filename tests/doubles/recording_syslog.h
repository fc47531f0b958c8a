#pragma once

#include "tests/doubles/call_recorder.h"

/**
 * The system's log for a test, linked with the linker's --wrap: the core's own calls are recorded and go nowhere.
 *
 * Journal lines: "openlog IDENT OPTIONS FACILITY", "syslog PRIORITY TEXT" with the text as it would be written,
 * "closelog".
 */
namespace recording_syslog {

call_recorder& recorder();

} // namespace recording_syslog
