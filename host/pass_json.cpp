#include "host/pass_json.h"

#include "detection/object_class.h"

#include <cmath>
#include <iomanip>
#include <locale>
#include <ostream>
#include <sstream>

namespace console {
namespace {

// Labels, reasons, problems and alert names come from tables of plain words: nothing in them needs escaping.

/** JSON has no word for what is not finite; what is only remembered has no score. */
void print_score(std::ostream& out, float score, bool seen) {
    out << ", \"score\": ";
    if (seen && std::isfinite(score))
        out << std::setprecision(4) << score;
    else
        out << "null";
}

void print_class_and_box(std::ostream& out, const detection& found) {
    out << "\"class\": " << found.ClassId << ", \"label\": \"" << class_label(found.ClassId) << "\", \"box\": ["
        << found.X << ", " << found.Y << ", " << found.W << ", " << found.H << ']';
}

void print(std::ostream& out, const detection& found) {
    out << '{';
    print_class_and_box(out, found);
    print_score(out, found.Confidence, true);
    out << '}';
}

void print(std::ostream& out, const ExplainedFinding& finding) {
    const one_find& find = finding.find;
    out << "{\"id\": " << find.id << ", ";
    print_class_and_box(out, find.detect);
    print_score(out, find.detect.Confidence, finding.explanation.unseen == 0);
    out << ", \"footing\": " << static_cast<int>(find.footing) << ", \"seconds\": " << find.seconds << ", \"state\": \""
        << name_of(find.footing) << "\", \"reason\": \"" << finding.explanation.reason
        << "\", \"unseen\": " << finding.explanation.unseen << ", \"unseen_seconds\": " << std::setprecision(1)
        << finding.explanation.unseen_seconds << '}';
}

void print(std::ostream& out, const AlertChange& change) {
    out << "{\"name\": \"" << change.name << "\", \"active\": " << (change.active ? "true" : "false") << '}';
}

void print(std::ostream& out, const Problem& problem) {
    out << "{\"kind\": \"" << problem.kind << "\", \"since\": " << problem.since << ", \"text\": \"" << problem.text
        << "\"}";
}

template <typename List>
void print_list(std::ostream& out, const char* name, const List& list) {
    out << ", \"" << name << "\": [";
    const char* separator = "";
    for (const auto& element : list) {
        out << separator;
        print(out, element);
        separator = ", ";
    }
    out << ']';
}

} // namespace

std::string json_of_pass(const PassRecord& record) {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << std::fixed << "{\"time\": " << std::setprecision(3) << record.seconds << ", \"status\": " << record.status;
    print_list(out, "detections", record.detections);
    print_list(out, "findings", record.findings);
    print_list(out, "alerts", record.alerts);
    out << '}';
    return out.str();
}

std::string json_of_live_pass(const LiveRecord& record) {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << std::fixed << "{\"time\": " << std::setprecision(3) << record.time << ", \"size\": [" << record.width << ", "
        << record.height << "], \"status\": " << record.status;
    print_list(out, "findings", record.findings);
    print_list(out, "problems", record.problems);
    out << '}';
    return out.str();
}

} // namespace console
