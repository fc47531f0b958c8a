// The web pages' parameter document: writing it, reading it, and what a posted one does.

#include "base/arithmetic.h"
#include "base/run_state.h"
#include "base/shared_field.h"
#include "config/parameter_io.h"
#include "config/setting_tables.h"
#include "output/overlay_info.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <array>
#include <memory>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace {

constexpr std::array<named_setting<bool>, 3> kAlerts = {{{"Alert1_Active", &ConfigParams::b_Alert1},
                                                         {"Alert2_Active", &ConfigParams::b_Alert2},
                                                         {"Alert3_Active", &ConfigParams::b_Alert3}}};

struct exclusion_elements {
    const char* coordinates; // the index is appended
    const char* active;
    int32_t (ConfigParams::*points)[8];
    bool ConfigParams::*active_field;
};

constexpr std::array<exclusion_elements, 3> kExclusions = {
    {{"Exclusion1_", "Exclusion1_Active", &ConfigParams::i_Exclusion1, &ConfigParams::b_Exclusion1Active},
     {"Exclusion2_", "Exclusion2_Active", &ConfigParams::i_Exclusion2, &ConfigParams::b_Exclusion2Active},
     {"Exclusion3_", "Exclusion3_Active", &ConfigParams::i_Exclusion3, &ConfigParams::b_Exclusion3Active}}};

constexpr auto kDetection = "Detection1_";

/** Even indices are x, odd ones y. */
int32_t extent(size_t index) {
    return index % 2 == 0 ? g_StreamWidth : g_StreamHeight;
}

int32_t passes_per_second() {
    return wrap_divide(1000, g_ConfigParams.i_MainLoopTime);
}

/** The document as it is written, element by element. */
class document_writer {
  public:
    document_writer() { m_text.reserve(4096); } // pages ask several times a second; 2.5 kB is usual

    void add(std::string_view name, std::string_view text) {
        m_text.append("<").append(name).append(">").append(text).append("</").append(name).append(">");
    }
    void add(std::string_view name, const char* text) { add(name, std::string_view(text)); }
    void add(std::string_view name, int32_t number) { add(name, std::string_view(std::to_string(number))); }
    void add(std::string_view name, bool on) { add(name, on ? "1" : "0"); }
    void add_polygon(const char* polygon, std::span<const int32_t> coordinates) {
        for (size_t i = 0; i < coordinates.size(); ++i)
            add(polygon + std::to_string(i), wrap_divide(wrap_multiply(coordinates[i], 100), extent(i)));
    }
    std::string take() { return std::move(m_text.append("</app>")); }

  private:
    std::string m_text = "<app>";
};

/** The values of a posted document, each written straight into the live settings. */
class document_reader {
  public:
    explicit document_reader(std::map<std::string, std::string> values) : m_values(std::move(values)) {}

    const std::string& text(const std::string& name) { return m_values[name]; }
    int32_t number(const std::string& name) { return std::stoi(text(name)); }

    void read(const std::string& name, int32_t& field) { write_shared(field, number(name)); }
    void read(const std::string& name, bool& field) { write_shared(field, text(name) == "1"); }
    void read(const std::string& name, float& field) { write_shared(field, std::stof(text(name))); }
    void read(const std::string& name, std::string& field) { field = text(name); }
    void read_polygon(const char* polygon, std::span<int32_t> coordinates) {
        for (size_t i = 0; i < coordinates.size(); ++i) {
            const int32_t percent = number(polygon + std::to_string(i));
            write_shared(coordinates[i], wrap_divide(wrap_multiply(percent, extent(i)), 100));
        }
    }

  private:
    std::map<std::string, std::string> m_values; // a name that is missing reads as an empty text
};

/** Ends the library's use with its scope: what it keeps for the thread that used it first would be lost otherwise. */
struct parser_session {
    parser_session() { xmlSetGenericErrorFunc(nullptr, ignore_message); } // the log says what there is to say
    ~parser_session() { xmlCleanupParser(); }
    parser_session(const parser_session&) = delete;
    parser_session& operator=(const parser_session&) = delete;

  private:
    static void ignore_message(void*, const char*, ...) {}
};

struct doc_deleter {
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};
using doc_ptr = std::unique_ptr<xmlDoc, doc_deleter>;

struct xml_text_deleter {
    void operator()(xmlChar* text) const { xmlFree(text); }
};

/**
 * Whether the document type makes much of little: by entities, which could expand without end, or by attributes with a
 * default, since each element gets a copy of a namespace's. It is looked at before anything of the document is built.
 */
bool declares_expansion(const std::string& xml) {
    bool declares = false;
    xmlSAXHandler handler{};
    handler.entityDecl = [](void* found, const xmlChar*, int, const xmlChar*, const xmlChar*, xmlChar*) {
        *static_cast<bool*>(found) = true;
    };
    handler.unparsedEntityDecl = [](void* found, const xmlChar*, const xmlChar*, const xmlChar*, const xmlChar*) {
        *static_cast<bool*>(found) = true;
    };
    handler.attributeDecl = [](void* found, const xmlChar*, const xmlChar*, int, int, const xmlChar* by_default,
                               xmlEnumeration* values) {
        *static_cast<bool*>(found) |= by_default != nullptr;
        xmlFreeEnumeration(values);
    };
    xmlSAXUserParseMemory(&handler, &declares, xml.data(), static_cast<int>(xml.size()));
    return declares;
}

/** Null for what is no document, and for one that would take far more memory than its text. */
doc_ptr parse(const std::string& xml) {
    if (declares_expansion(xml))
        return nullptr;
    return doc_ptr(xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr, nullptr, 0));
}

std::string to_text(const xmlChar* text) {
    return reinterpret_cast<const char*>(text);
}

} // namespace

std::string parameter_io::get_parameters() {
    const ConfigParams& config = g_ConfigParams;
    document_writer document;
    document.add("MinNumberOfPeopleForTrigger", config.i_MinNumberOfPeopleForTrigger);
    document.add("Sensitivity", std::to_string(config.f_Sensitivity).substr(0, 4));
    document.add("MaxDisappear", wrap_divide(config.i_MaxDisappeared, passes_per_second()));
    for (const auto& wanted : kWantedClasses)
        document.add(wanted.name, config.*wanted.field);
    for (const auto& alert : kAlerts)
        document.add(alert.name, config.*alert.field);
    for (const auto& seconds : kAlertSeconds)
        document.add(seconds.name, config.*seconds.field);
    document.add("Eula", config.b_EulaAccepted);
    document.add("DetectionOverlaysOn", config.b_DetectionOverlaysOn);
    document.add("AnonOverlaysOn", config.b_AnonOverlaysOn);
    document.add("SelectedDetectionOverlay", config.str_DetectionOverlay);
    document.add("SelectedAnonOverlay", config.str_AnonOverlay);
    document.add("CamsResAsCsv", CameraResolutionsAsCsv());
    document.add("DetectionControlPoints", config.i_DetectionControlPoints);
    document.add_polygon(kDetection, config.i_Detection1);
    for (const auto& zone : kExclusions) {
        document.add_polygon(zone.coordinates, config.*zone.points);
        document.add(zone.active, config.*zone.active_field);
    }
    return document.take();
}

int parameter_io::set_post_parameters(std::string body) {
    ConfigParams& config = g_ConfigParams;
    write_shared<int32_t>(config.i_WStream, g_StreamWidth);
    write_shared<int32_t>(config.i_HStream, g_StreamHeight);
    auto values = parseXMLData(std::move(body));
    if (values.empty()) {
        g_Logger.error("set_post_parameters: Failed to parse XML payload");
        return -1;
    }
    document_reader document(std::move(values));
    document.read("MinNumberOfPeopleForTrigger", config.i_MinNumberOfPeopleForTrigger);
    document.read("Sensitivity", config.f_Sensitivity);
    document.read("DetectionOverlaysOn", config.b_DetectionOverlaysOn);
    document.read("MaxDisappear", config.i_MaxDisappeared); // in seconds until further down
    document.read("SelectedDetectionOverlay", config.str_DetectionOverlay);
    document.read("AnonOverlaysOn", config.b_AnonOverlaysOn);
    document.read("SelectedAnonOverlay", config.str_AnonOverlay);
    document.read("Eula", config.b_EulaAccepted);
    for (const auto& wanted : kWantedClasses)
        document.read(wanted.name, config.*wanted.field);
    for (const auto& alert : kAlerts)
        document.read(alert.name, config.*alert.field);
    for (const auto& seconds : kAlertSeconds)
        document.read(seconds.name, config.*seconds.field);

    SetOverlayStreamResolutionFromString(config.b_DetectionOverlaysOn ? config.str_DetectionOverlay : "0x0");
    SetAnonymizedStreamResolutionFromString(config.b_AnonOverlaysOn ? config.str_AnonOverlay : "0x0");
    write_shared(config.i_MaxDisappeared, wrap_multiply(config.i_MaxDisappeared, passes_per_second()));
    g_LocationController.set_sensitivity(config.f_Sensitivity);
    g_Tracker.set_max_disappeared(config.i_MaxDisappeared);

    document.read("DetectionControlPoints", config.i_DetectionControlPoints);
    document.read_polygon(kDetection, config.i_Detection1);
    store_points_into_AOI();
    for (const auto& zone : kExclusions) {
        document.read_polygon(zone.coordinates, config.*zone.points);
        document.read(zone.active, config.*zone.active_field);
    }
    store_points_into_exclusions();
    g_ParameterController.save_config(config);
    return 0;
}

std::map<std::string, std::string> parameter_io::parseXMLData(std::string xml) {
    std::map<std::string, std::string> values;
    const parser_session session;
    const doc_ptr doc = parse(xml);
    if (!doc) {
        g_Logger.error("parseXMLData: Failed to parse XML payload");
        return values;
    }
    const xmlNode* root = xmlDocGetRootElement(doc.get());
    if (root == nullptr) {
        g_Logger.error("parseXMLData: Failed to get root element");
        return values;
    }
    for (const xmlNode* node = root->children; node != nullptr; node = node->next) {
        const std::unique_ptr<xmlChar, xml_text_deleter> text(xmlNodeListGetString(doc.get(), node->children, 1));
        if (!text || node->name == nullptr) // a CDATA section has no name
            throw std::logic_error("parseXMLData: a child of the root has no text");
        values[to_text(node->name)] = to_text(text.get());
    }
    return values;
}
