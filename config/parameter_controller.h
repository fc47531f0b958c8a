#pragma once

#include "config/config_params.h"

#include <axsdk/axparameter.h>
#include <larod.h>

#include <cstdint>
#include <optional>
#include <string>

/**
 * Binds ConfigParams to the platform's parameter store, where every value is text.
 *
 * Failures are told in the log and nowhere else: a value that cannot be read is 0, false or empty. The operation that
 * fails releases the store's handle while `m_Parameter` keeps naming it; from then on every operation passes a released
 * handle on, which the store refuses. That is deliberate: one failure means that the store is gone.
 *
 * `init_controller` and `load_config` belong to start-up on the main thread, `save_config` to the web thread after it.
 */
class parameter_controller {
  public:
    /** Opens the store for `appName`, reads the image rotation and registers the 70 parameters. */
    void init_controller(std::string appName);

    /** Degrees; 0 when unknown. The name is not used. */
    int32_t find_rotation_parameter(std::string appName);

    /** What `init_controller` found. */
    int32_t get_rotation() const { return m_rotation; }

    /** Registers a parameter with the value "0"; one that exists already keeps its value. */
    void add_parameter(std::string name);

    /** A number that is none, or that does not fit, reads as 0. */
    int32_t get_gint_parameter(std::string name);
    float get_gfloat_parameter(std::string name);
    /** Only the text "true" is true. */
    bool get_boolean_parameter(std::string name);
    std::string get_string_parameter(std::string name);
    /** For a chip-type setting; the running system has none. */
    larodChip get_larodchiptype_parameter(std::string name);

    /** Every write has reached the store when it returns. A negative number must not be stored: it cannot be read. */
    void set_guint_parameter(std::string name, unsigned int value);
    void set_gfloat_parameter(std::string name, float value);
    void set_boolean_parameter(std::string name, bool value);
    void set_string_parameter(std::string name, std::string value);

    /** The stored settings, unchecked, with the fixed facts of the model. */
    ConfigParams load_config();

    /** Always 1. "MainLoopTime" is never written: the period can only be changed in the store itself. */
    int32_t save_config(ConfigParams config);

    /** Diagnostic aid: logs the name of every parameter of the group. */
    void list_params();

    /** Diagnostic aid: logs a change of a parameter. */
    static void status_callback_log(const char* name, const char* value, void* userData);

  public:
    AXParameter* m_Parameter = nullptr; // null until init_controller
    int32_t m_rotation = 0;             // degrees

  private:
    std::optional<std::string> read(const char* operation, const std::string& name);
    int32_t read_number(const char* operation, const std::string& name);
    void write(const std::string& name, const std::string& text, const std::string& failure);
};

extern parameter_controller g_ParameterController;
