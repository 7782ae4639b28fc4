// SPDX-License-Identifier: Apache-2.0

#include "core/run/run_end.h"

#include <array>
#include <exception>
#include <new>
#include <string_view>
#include <utility>

#include "core/run/diagnostics.h"

namespace autoresponder {

namespace {

constexpr std::string_view kOwnName = "autoresponder: ";

// Line and reason of the exception that is being handled, each in two pieces; valid as long as
// that.
struct Description {
    std::array<std::string_view, 2> line;
    std::array<std::string_view, 2> reason;
    EndOfRun::Cause cause = EndOfRun::Cause::kFailure;
};

Description describe() noexcept {
    try {
        throw;
    } catch (const EndOfRun& end) {
        return {{end.line()}, {end.reason()}, end.cause()};
    } catch (const std::bad_alloc&) {
        return {{kOwnName, "Program failed due to exhausted memory"},
                {"Program failed due to exhausted memory"}};
    } catch (const std::exception& error) {
        return {{"autoresponder: Failed to process the message: ", error.what()},
                {"it cannot be processed: ", error.what()},
                EndOfRun::Cause::kMessage};
    }
}

}  // namespace

EndOfRun::EndOfRun(std::string line, std::string reason, Cause cause)
    : line_(std::move(line)), reason_(std::move(reason)), cause_(cause) {
    if (reason_.empty()) {
        reason_ = line_.substr(line_.starts_with(kOwnName) ? kOwnName.size() : 0);
    }
}

void report_end_of_run() noexcept {
    const Description end = describe();
    report(end.line[0], end.line[1]);
}

EndOfRun current_end() {
    const Description end = describe();
    return EndOfRun(std::string(end.line[0]).append(end.line[1]),
                    std::string(end.reason[0]).append(end.reason[1]), end.cause);
}

}  // namespace autoresponder
