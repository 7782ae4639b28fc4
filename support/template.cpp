// SPDX-License-Identifier: Apache-2.0

#include "support/template.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

constexpr std::size_t kMaxName = TEMPL_MAX_NAME;

const par_templ* find(const char* name, const par_templ* table, std::size_t count) {
    if (table == nullptr) {
        return nullptr;
    }
    std::size_t low = 0;
    std::size_t end = count;
    while (low < end) {
        const std::size_t middle = low + (end - 1 - low) / 2;
        const int order = std::strcmp(name, table[middle].name);
        if (order == 0) {
            return table + middle;
        }
        if (order < 0) {
            end = middle;
        } else {
            low = middle + 1;
        }
    }
    return nullptr;
}

// The bytes after an opening character that were looked at, and the length of the name among them:
// 0 if they form no placeholder.
struct Lookahead {
    std::size_t length;
    std::size_t name_length;
};

Lookahead look_ahead(const char* text, char closing) {
    for (std::size_t i = 0; i <= kMaxName; ++i) {
        if (text[i] == '\0') {
            return {i, 0};
        }
        if (text[i] == closing) {
            return {i + 1, i};
        }
    }
    return {kMaxName + 1, 0};
}

// The destination, and how much of both texts is accounted for.
class Output {
  public:
    Output(char* destination, std::size_t size) : destination_(destination), size_(size) {}

    [[nodiscard]] bool fits(std::size_t length) const { return length <= size_ - written_; }

    // Each false if the text had to be cut.
    bool add_literal(const char* text, std::size_t length) {
        const std::size_t added = append(text, length);
        consumed_ += added;
        return added == length;
    }
    bool add_value(const char* text, std::size_t length) {
        const bool whole = append(text, length) == length;
        if (whole) {
            destination_[written_] = '\0';
        }
        return whole;
    }

    void terminate_if_room() {
        if (written_ < size_) {
            destination_[written_] = '\0';
        }
    }

    void consume(std::size_t length) { consumed_ += length; }

    void report(repl_ctl* control) const {
        control->source_consumed = static_cast<std::int32_t>(consumed_);
        control->output_length = static_cast<std::int32_t>(written_);
    }

  private:
    std::size_t append(const char* text, std::size_t length) {
        const std::size_t added = std::min(length, size_ - written_);
        std::memcpy(destination_ + written_, text, added);
        written_ += added;
        return added;
    }

    char* destination_;
    std::size_t size_;
    std::size_t written_ = 0;
    std::size_t consumed_ = 0;
};

// What is known of a name: its value, which may be null, or nothing.
struct Lookup {
    bool known;
    const char* value;
};

Lookup look_up(const char* text, std::size_t length, const par_templ* table, std::size_t count) {
    std::array<char, kMaxName + 1> name{};
    std::memcpy(name.data(), text, length);
    const par_templ* entry = find(name.data(), table, count);
    return entry != nullptr ? Lookup{true, entry->value} : Lookup{false, nullptr};
}

// Writes the literal text up to a placeholder and the placeholder's value. False if the output ends
// there.
bool substitute(Output& output, std::string_view literal, const char* value,
                std::size_t placeholder_length, repl_ctl* control) {
    if (!output.add_literal(literal.data(), literal.size())) {
        return false;
    }
    const std::size_t length = value != nullptr ? std::strlen(value) : 0;
    if (!output.fits(length) && (control->input_flags & TEMPL_STOP_BEFORE_VALUE) != 0) {
        control->result_flags |= TEMPL_STOPPED_BEFORE_VALUE;
        return false;
    }
    output.consume(placeholder_length);
    return value == nullptr || output.add_value(value, length);
}

}  // namespace

char* templ_replace(char opening, char closing, const par_templ* table, unsigned long count,
                    const char* source, char* destination, unsigned long size, repl_ctl* control) {
    destination[0] = '\0';
    *control = {0, 0, control->input_flags, 0};
    if (source == nullptr || *source == '\0' || size == 0 || count == 0) {
        return destination;
    }

    Output output(destination, size);
    const bool keep_unknown = (control->input_flags & TEMPL_KEEP_UNKNOWN) != 0;
    const char* literal = source;
    const char* at = source;
    while (*at != '\0') {
        if (*at != opening) {
            ++at;
            continue;
        }
        const char* placeholder = at;
        const Lookahead seen = look_ahead(placeholder + 1, closing);
        at += 1 + seen.length;
        if (seen.name_length == 0) {
            continue;
        }
        const Lookup found = look_up(placeholder + 1, seen.name_length, table, count);
        if (!found.known && keep_unknown) {
            control->result_flags |= TEMPL_KEPT_UNKNOWN;
            continue;
        }
        if (!substitute(output, {literal, placeholder}, found.value, seen.name_length + 2,
                        control)) {
            output.report(control);
            return destination;
        }
        literal = at;
    }
    if (output.add_literal(literal, static_cast<std::size_t>(at - literal))) {
        output.terminate_if_room();
    }
    output.report(control);
    return destination;
}

int templ_found(const char* name, const par_templ* table, int count) {
    if (name == nullptr || count < 1) {
        return -1;
    }
    const par_templ* entry = find(name, table, static_cast<std::size_t>(count));
    return entry != nullptr ? static_cast<int>(entry - table) : -1;
}

void templ_quick_sort(par_templ* table, int count) {
    if (count >= 1) {
        qs(table, 0, count - 1);
    }
}

void qs(par_templ* table, int low, int high) {
    while (low < high) {
        const char* pivot = table[low + (high - low) / 2].name;
        int left = low;
        int right = high;
        while (left <= right) {
            while (left < high && std::strcmp(table[left].name, pivot) < 0) {
                ++left;
            }
            while (right > low && std::strcmp(table[right].name, pivot) > 0) {
                --right;
            }
            if (left <= right) {
                std::swap(table[left++], table[right--]);
            }
        }
        if (low < right) {
            qs(table, low, right);
        }
        low = left;
    }
}
