#pragma once

#include "tests/doubles/call_recorder.h"

#include <map>
#include <string>

/**
 * A parameter store in memory, with the camera's own rotation ("root.Image.I0.Appearance.Rotation", "0").
 *
 * Journal lines: "ax_parameter_new APP", "ax_parameter_free", "ax_parameter_add NAME VALUE TYPE",
 * "ax_parameter_get NAME", "ax_parameter_set NAME VALUE SYNC", "ax_parameter_list". Kind of live objects: AXParameter.
 * A name that is not there fails with code 4, one that is there already with code 13, a null handle with code 5 and a
 * released handle with code 6: its memory stays with the double, so that nothing is touched that is gone.
 */
namespace fake_axparameter {

call_recorder& recorder();

/** An empty store, no journal, no failures. */
void reset();

void put(const std::string& name, const std::string& value);
void remove(const std::string& name);
/** Everything in the store. */
std::map<std::string, std::string> values();

/** How often a released handle has been passed in, to `ax_parameter_free` or to another operation. */
int uses_of_released_handles();

} // namespace fake_axparameter
