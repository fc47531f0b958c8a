// Property: a line is read as the plain rule says, and what has been read survives being written and read again.

#include "base/logger.h"
#include "fuzz/fuzz.h"

#include <vector>

namespace {

std::vector<std::string> pieces_of(const std::string& line) {
    std::vector<std::string> pieces(1);
    for (const char c : line)
        if (c == '|')
            pieces.emplace_back();
        else
            pieces.back() += c;
    return pieces;
}

bool same(const LogEntry& a, const LogEntry& b) {
    return a._dateTime == b._dateTime && a._appName == b._appName && a._logLevel == b._logLevel &&
           a._message == b._message;
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string line = text_of(data, size);
    std::string rest = line;
    const LogEntry entry = LogEntry::deserialize(rest);
    require(rest == entry._message, "what is left of the line is the message");

    std::vector<std::string> pieces = pieces_of(line);
    require(entry._message == pieces.back(), "the message is the last piece");
    pieces.pop_back();
    pieces.resize(3);
    require(entry._dateTime == pieces[0] && entry._appName == pieces[1] && entry._logLevel == pieces[2],
            "the other fields are the first pieces");

    std::string written = entry.serialize();
    require(same(LogEntry::deserialize(written), entry), "an entry without bars comes back as it was");

    // Any message: only what follows its last bar comes back.
    std::string long_written = LogEntry{"date", "app", "info", line}.serialize();
    require(same(LogEntry::deserialize(long_written), {"date", "app", "info", entry._message}),
            "a message comes back from its last bar on");
    return 0;
}
