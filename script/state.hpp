// The statement layer's part of the runtime record: its analysis caches, the
// nesting and loop counters of the line under way, the line limits and the
// lines of the start-up script. Made by InitializeGlobals, freed by
// TerminateGlobals (core/runtime.hpp).
#pragma once

#include <cstdint>
#include <vector>

#include "core/runtime.hpp"
#include "lang/text_cache.hpp"
#include "script/script.hpp"

namespace ostr::script {

struct Shape;
struct Function;
struct Arguments;
struct LineShape;
struct Chain;

class DeepStack;  // the worker thread that runs top-level lines (deep_stack.cpp)
struct DeepStackDeleter {
    void operator()(DeepStack* d) const noexcept;
};

struct State {
    // Shapes by text, bodies [0] and blocks [1] apart (4 MiB each).
    lang::TextCache<Shape> shapes[2] = {lang::TextCache<Shape>(std::size_t{4} << 20),
                                        lang::TextCache<Shape>(std::size_t{4} << 20)};
    lang::TextCache<Function> functions{std::size_t{8} << 20};
    lang::TextCache<Arguments> arguments{std::size_t{8} << 20};
    lang::TextCache<LineShape> lines{std::size_t{4} << 20};  // top-level lines by text
    lang::TextCache<Chain> chains{std::size_t{4} << 20};     // access chains (a[i], a.m(x)) by text
    int analysis_depth = 0;  // nested block analyses under way
    int depth = 0;           // user calls and blocks nested together
    std::uintptr_t stack_floor = 0;  // lowest stack address a line may reach; 0 off the deep stack
    std::unique_ptr<DeepStack, DeepStackDeleter> deep_stack;  // made by the first top-level line
    std::uint64_t passes = 0;  // loop passes of the top-level line
    double line_start = 0;     // when the top-level line began, in seconds
    bool line_running = false; // a top-level line is under way (its time counts)
    Limits limits;
    std::vector<Text> init_lines;  // the start-up script, read once
    Arbenv* top_statement = nullptr;  // the environment of the top-level line under way (session_notes.hpp)
    std::vector<obj::OwnedObject> buried;  // deleted during the top-level line, freed at its end
    std::vector<obj::HistoryEntry>* history_aside = nullptr;  // the top-level line's real history list
    int history_runs = 0;  // history(n) calls nested in the line under way
};

inline State& state() { return core::part_of<State, core::script_slot>(); }

}  // namespace ostr::script
