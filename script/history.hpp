// The history of the lines typed at the top level: recording with its
// bounds, and the history() command that shows the entries and runs one
// again.
#pragma once

#include <string_view>
#include <vector>

#include "core/memory.hpp"
#include "objects/environment.hpp"

namespace ostr::script {

// The bounds of a history list: the newest entries are kept, at most this
// many and this many bytes of text together; an answer longer than
// max_history_answer is kept cut short (it is there to be read, the script
// to be run again).
inline constexpr std::size_t max_history_entries = 1000;
inline constexpr std::size_t max_history_bytes = std::size_t{4} << 20;
inline constexpr std::size_t max_history_answer = std::size_t{16} << 10;

// Appends (script, answer) and drops the oldest entries past the bounds.
void record_history(std::vector<obj::HistoryEntry>& list, std::string_view script, std::string_view answer);

// While a top-level line runs, its environment's list is set aside (the
// line's nested runs record into a scratch list): the outermost setter
// registers the list here so that history() sees it. Null when none is.
void set_history_aside(std::vector<obj::HistoryEntry>* list) noexcept;
std::vector<obj::HistoryEntry>* history_aside() noexcept;

// Registers history().
void install_history();

}  // namespace ostr::script
