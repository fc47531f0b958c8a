#pragma once

#include <atomic>

/**
 * The web thread rewrites plain words while the analysis pass reads them: those of the live ConfigParams, the
 * detector's threshold, the tracker's patience, and its own connection's descriptor is looked at from aside. Both sides
 * go through these two, which make each access one indivisible load or store; a pass sees the old or the new value of a
 * field, never half of one. No order between fields is promised.
 */
template <typename Word>
Word read_shared(const Word& field) {
    return std::atomic_ref<Word>(const_cast<Word&>(field)).load(std::memory_order_relaxed);
}

template <typename Word>
void write_shared(Word& field, Word value) {
    std::atomic_ref<Word>(field).store(value, std::memory_order_relaxed);
}
