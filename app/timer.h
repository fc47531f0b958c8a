#pragma once

#include "base/timer.h" // its public name is this file's
