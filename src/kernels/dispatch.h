// The dispatch frame: every kernel stands behind a named entry point that
// checks its arguments once and then calls the body held in one of six
// processor slots of the kernel's table, and a seventh of our own.
//
//   slot 0, 1  SSE2     (the x86-64 baseline)
//   slot 2, 3  SSSE3
//   slot 4     SSE4.1
//   slot 5     AVX2
//   slot 6     AVX-512 (F, BW, DQ, VL)
//
// A table is built once, race-free, on first use. Each slot holds the best
// form whose instruction set is at or below the slot's level and runs on this
// processor; the scalar definition fills whatever is left. All forms of a
// kernel give identical bytes, so the slot decides speed alone.
#pragma once

#include <array>
#include <atomic>
#include <initializer_list>
#include <vector>

#include "kernels/cpu.h"

namespace morva {

constexpr int kCpuSlotCount = 7;

// The instruction level of a slot.
Isa slotIsa(int slot);

// The highest slot this processor can run.
int highestCpuSlot();

// The slot every entry point reads. The frame was designed for a start-up step
// that picks it; we take that step at load, choosing the highest slot the
// processor runs.
extern std::atomic<int> ippCpuSlot;
inline int currentCpuSlot() { return ippCpuSlot.load(std::memory_order_relaxed); }

// Not a slot of the tables: every entry point runs its kernel's scalar
// definition, so that tests can compare whole calls with the definitions.
constexpr int kScalarCpuSlot = -1;

// Internal hook for tests, benchmarks and the command-line tool: selects a
// slot, or kScalarCpuSlot, limited to what the processor runs. Returns the
// slot in effect.
int setCpuSlot(int slot);

// Threads of the resize kernels' band split. 1 unless a test changes it.
extern std::atomic<int> ippNumThreads;
int ippGetNumThreads();
// Internal hook for tests: sets the value, at least 1. Returns the old one.
int setNumThreads(int threads);

template <class Fn>
struct KernelForm {
    const char* name;
    Isa isa;
    Fn fn;
};

template <class Fn>
class KernelTable {
public:
    // The first form is the scalar definition.
    KernelTable(std::initializer_list<KernelForm<Fn>> forms) : forms_(forms) {
        for (int slot = 0; slot < kCpuSlotCount; ++slot) {
            const KernelForm<Fn>* best = &forms_.front();
            for (const KernelForm<Fn>& form : forms_) {
                if (form.isa <= slotIsa(slot) && cpuSupports(form.isa) && form.isa >= best->isa)
                    best = &form;
            }
            slots_[slot] = best->fn;
        }
    }

    Fn slot(int index) const { return index == kScalarCpuSlot ? scalar() : slots_[index]; }
    Fn current() const { return slot(currentCpuSlot()); }
    Fn scalar() const { return forms_.front().fn; }

    // Every form compiled in, supported by this processor or not.
    const std::vector<KernelForm<Fn>>& forms() const { return forms_; }

private:
    std::vector<KernelForm<Fn>> forms_;
    std::array<Fn, kCpuSlotCount> slots_{};
};

}  // namespace morva
