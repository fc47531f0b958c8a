#pragma once

#include "base/logger.h" // its public name is this file's
