#pragma once

#include <json-glib/json-glib.h>

#include <memory>
#include <string>

namespace host_events {

/** A JSON object written member by member, in that order, on one line. */
class JsonObjectWriter {
  public:
    JsonObjectWriter();

    JsonObjectWriter& text(const char* name, const std::string& value);
    JsonObjectWriter& boolean(const char* name, bool value);
    JsonObjectWriter& null(const char* name);
    /** A list with one text. */
    JsonObjectWriter& list(const char* name, const std::string& value);
    JsonObjectWriter& begin(const char* name);
    JsonObjectWriter& end();

    /** Ends the object. */
    std::string finish();

  private:
    struct Release {
        void operator()(JsonBuilder* builder) const { g_object_unref(builder); }
    };
    std::unique_ptr<JsonBuilder, Release> m_builder;
};

} // namespace host_events
