#include "base/run_state.h"

std::atomic<int32_t> g_StatusCode{0};
std::atomic<int32_t> g_ExecutionTime{0};
std::atomic<int32_t> g_StreamWidth{0};
std::atomic<int32_t> g_StreamHeight{0};
std::atomic<bool> g_IsPortrait{false};
