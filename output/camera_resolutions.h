#pragma once

#include "output/resolution.h"

#include <set>
#include <string>

/** Every resolution that any video channel of the camera offers; empty when the channels cannot be listed. Any thread.
 */
std::set<Resolution> getCameraResolutions();

/** The same as text, each followed by a comma, the last one too: the web page splits it so. "640x360,1920x1080," */
std::string getCamerasResolutionsAsCsv();
