#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

/**
 * What a fuzz target defines: one input. Always 0; a broken property ends the process through `require`. The fuzzer
 * calls it with what it invents, replay_main.cpp with the files of the corpus.
 */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

/** Ends the process when a property does not hold. */
void require(bool holds, const char* property);

std::string text_of(const uint8_t* data, size_t size);

/** A folder of this process, gone at its end. */
const std::filesystem::path& own_folder();

/** Sends the log nowhere and forgets it: an input must not cost disk or memory that stays. */
void silence_log();
