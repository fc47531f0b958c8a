// The web pages' parameter document: writing it, reading it, and what a posted one does.

#include "base/arithmetic.h"
#include "base/logger.h"
#include "base/run_state.h"
#include "base/shared_field.h"
#include "config/parameter_controller.h"
#include "config/parameter_io.h"
#include "config/settings.h"
#include "detection/location_controller_larod.h"
#include "output/overlay_info.h"
#include "scene/tracker.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

/** Even indices are x, odd ones y. */
int32_t extent(size_t index) {
    return index % 2 == 0 ? g_StreamWidth : g_StreamHeight;
}

/** Whole percent of the stream's width or height, cut toward zero. */
int32_t percent_of_extent(int32_t pixels, size_t index) {
    return wrap_divide(wrap_multiply(pixels, 100), extent(index));
}

int32_t part_of_extent(int32_t percent, size_t index) {
    return wrap_divide(wrap_multiply(percent, extent(index)), 100);
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
    void add(const setting& which, const ConfigParams& config) {
        visit_value(which, config,
                    for_each_kind{[&](int32_t number) { add(which.element, std::to_string(number)); },
                                  [&](bool on) { add(which.element, on ? "1" : "0"); },
                                  [&](float number) { add(which.element, std::to_string(number).substr(0, 4)); },
                                  [&](const std::string& text) { add(which.element, text); },
                                  [&](std::span<const int32_t> pixels) {
                                      const std::vector<std::string> names = element_names(which);
                                      for (size_t i = 0; i < pixels.size(); ++i)
                                          add(names[i], std::to_string(percent_of_extent(pixels[i], i)));
                                  }});
    }
    std::string take() { return std::move(m_text.append("</app>")); }

  private:
    std::string m_text = "<app>";
};

/** The values of a posted document, each written straight into the live settings. */
class document_reader {
  public:
    explicit document_reader(std::map<std::string, std::string> values) : m_values(std::move(values)) {}

    void read(const setting& which, ConfigParams& config) {
        visit_value(which, config,
                    for_each_kind{[&](int32_t& value) { write_shared(value, number(which.element)); },
                                  [&](bool& value) { write_shared(value, text(which.element) == "1"); },
                                  [&](float& value) { write_shared(value, std::stof(text(which.element))); },
                                  [&](std::string& value) { value = text(which.element); },
                                  [&](std::span<int32_t> pixels) {
                                      const std::vector<std::string> names = element_names(which);
                                      for (size_t i = 0; i < pixels.size(); ++i)
                                          write_shared(pixels[i], part_of_extent(number(names[i]), i));
                                  }});
    }

  private:
    const std::string& text(const std::string& name) { return m_values[name]; }
    int32_t number(const std::string& name) { return std::stoi(text(name)); }

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
    const auto give = [&](row which) { document.add(setting_of(which), config); };
    give(row::min_number);
    give(row::sensitivity);
    document.add(setting_of(row::max_disappeared).element,
                 std::to_string(wrap_divide(config.i_MaxDisappeared, passes_per_second())));
    std::ranges::for_each(kWantedClasses, give);
    std::ranges::for_each(kAlertSettings, give);
    for (const row which :
         {row::eula, row::detection_overlays_on, row::anon_overlays_on, row::detection_overlay, row::anon_overlay})
        give(which);
    document.add("CamsResAsCsv", CameraResolutionsAsCsv());
    give(row::control_points);
    give(row::area);
    for (const auto& [corners, active] : kExclusionZones) {
        give(corners);
        give(active);
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
    const auto take = [&](row which) { document.read(setting_of(which), config); };
    for (const row which : {row::min_number, row::sensitivity, row::detection_overlays_on,
                            row::max_disappeared, // in seconds until further down
                            row::detection_overlay, row::anon_overlays_on, row::anon_overlay, row::eula})
        take(which);
    std::ranges::for_each(kWantedClasses, take);
    std::ranges::for_each(kAlertSettings, take);

    SetOverlayStreamResolutionFromString(config.b_DetectionOverlaysOn ? config.str_DetectionOverlay : "0x0");
    SetAnonymizedStreamResolutionFromString(config.b_AnonOverlaysOn ? config.str_AnonOverlay : "0x0");
    write_shared(config.i_MaxDisappeared, wrap_multiply(config.i_MaxDisappeared, passes_per_second()));
    g_LocationController.set_sensitivity(config.f_Sensitivity);
    g_Tracker.set_max_disappeared(config.i_MaxDisappeared);

    take(row::control_points);
    take(row::area);
    store_points_into_AOI();
    for (const auto& [corners, active] : kExclusionZones) {
        take(corners);
        take(active);
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
