// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/support/template_reference.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>

namespace {

// What is written in one piece: literal text up to a placeholder, or what the placeholder stands
// for.
struct Piece {
    enum class Kind { kLiteral, kRemoved, kValue } kind;
    std::string text;
    std::size_t source_length;
};

// kept_at becomes the index of the first piece that holds an unknown placeholder.
std::vector<Piece> pieces_of(char opening, char closing, const std::vector<par_templ>& table,
                             std::string_view source, bool keep_unknown, std::size_t* kept_at) {
    std::vector<Piece> pieces;
    std::string literal;
    while (!source.empty()) {
        const std::string_view following = source.substr(1, TEMPL_MAX_NAME + 1);
        const std::size_t name_length = following.find(closing);
        if (source.front() != opening || name_length == 0 ||
            name_length == std::string_view::npos) {
            std::size_t taken = 1;
            if (source.front() == opening) {
                taken += name_length == 0 ? 1 : following.size();
            }
            literal += source.substr(0, taken);
            source.remove_prefix(taken);
            continue;
        }
        const std::string_view name = following.substr(0, name_length);
        const std::string_view whole = source.substr(0, name_length + 2);
        source.remove_prefix(whole.size());
        const auto entry = std::find_if(table.begin(), table.end(),
                                        [&](const par_templ& e) { return name == e.name; });
        if (entry == table.end() && keep_unknown) {
            *kept_at = std::min(*kept_at, pieces.size());
            literal += whole;
            continue;
        }
        const bool has_value = entry != table.end() && entry->value != nullptr;
        pieces.push_back({Piece::Kind::kLiteral, literal, literal.size()});
        pieces.push_back({has_value ? Piece::Kind::kValue : Piece::Kind::kRemoved,
                          has_value ? entry->value : "", whole.size()});
        literal.clear();
    }
    pieces.push_back({Piece::Kind::kLiteral, literal, literal.size()});
    return pieces;
}

}  // namespace

bool TemplateResult::operator==(const TemplateResult& other) const {
    return output == other.output && terminated == other.terminated &&
           control.source_consumed == other.control.source_consumed &&
           control.output_length == other.control.output_length &&
           control.input_flags == other.control.input_flags &&
           control.result_flags == other.control.result_flags;
}

std::ostream& operator<<(std::ostream& stream, const TemplateResult& result) {
    return stream << '"' << result.output << (result.terminated ? "\", terminated" : "\"")
                  << ", consumed " << result.control.source_consumed << ", written "
                  << result.control.output_length << ", flags " << result.control.result_flags;
}

TemplateResult reference_replace(char opening, char closing, const std::vector<par_templ>& table,
                                 std::string_view source, std::size_t size, int flags) {
    TemplateResult result{"", true, {0, 0, flags, 0}};
    if (source.empty() || size == 0 || table.empty()) {
        return result;
    }
    std::size_t kept_at = SIZE_MAX;
    const std::vector<Piece> pieces =
        pieces_of(opening, closing, table, source, (flags & TEMPL_KEEP_UNKNOWN) != 0, &kept_at);

    std::set<std::size_t> zeros{0};  // where a zero has been written
    std::size_t consumed = 0;
    std::size_t reached = 0;
    bool cut = false;
    for (; reached < pieces.size() && !cut; ++reached) {
        const auto& [kind, text, source_length] = pieces[reached];
        const std::size_t room = size - result.output.size();
        cut = text.size() > room;
        if (cut && kind == Piece::Kind::kValue && (flags & TEMPL_STOP_BEFORE_VALUE) != 0) {
            result.control.result_flags |= TEMPL_STOPPED_BEFORE_VALUE;
            break;
        }
        result.output += text.substr(0, room);
        consumed += cut && kind == Piece::Kind::kLiteral ? room : source_length;
        if (!cut && kind == Piece::Kind::kValue) {
            zeros.insert(result.output.size());
        }
    }
    if (!cut && result.output.size() < size) {
        zeros.insert(result.output.size());
    }
    result.terminated = zeros.contains(result.output.size());
    if (kept_at < reached) {
        result.control.result_flags |= TEMPL_KEPT_UNKNOWN;
    }
    result.control.source_consumed = static_cast<std::int32_t>(consumed);
    result.control.output_length = static_cast<std::int32_t>(result.output.size());
    return result;
}

TemplateResult actual_replace(char opening, char closing, const std::vector<par_templ>& table,
                              std::string_view source, std::size_t size, int flags) {
    const std::unique_ptr<char[]> text(new char[source.size() + 1]);
    *std::copy(source.begin(), source.end(), text.get()) = '\0';
    const std::unique_ptr<char[]> destination(new char[size + 1]);
    std::fill_n(destination.get(), size + 1, kUntouched);

    repl_ctl control{-1, -1, flags, -1};
    const char* returned = templ_replace(opening, closing, table.data(), table.size(), text.get(),
                                         destination.get(), size, &control);
    const auto length = static_cast<std::size_t>(control.output_length);
    if (returned != destination.get() || length > size) {
        return {"", false, control};
    }
    return {std::string(returned, length), returned[length] == '\0', control};
}
