// SPDX-License-Identifier: Apache-2.0

#include "core/run/run_end.h"

#include <exception>
#include <new>
#include <string_view>
#include <utility>

#include "core/run/diagnostics.h"

namespace autoresponder {

namespace {

constexpr std::string_view kOwnName = "autoresponder: ";

// The exception that is being handled.
EndOfRun current_end() {
    try {
        throw;
    } catch (const EndOfRun& end) {
        return end;
    } catch (const std::bad_alloc&) {
        return EndOfRun("autoresponder: Program failed due to exhausted memory");
    } catch (const std::exception& error) {
        return EndOfRun(
            std::string("autoresponder: Failed to process the message: ") + error.what(),
            std::string("it cannot be processed: ") + error.what(), EndOfRun::Cause::kMessage);
    }
}

}  // namespace

EndOfRun::EndOfRun(std::string line, std::string reason, Cause cause)
    : line_(std::move(line)), reason_(std::move(reason)), cause_(cause) {
    if (reason_.empty()) {
        reason_ = line_.substr(line_.starts_with(kOwnName) ? kOwnName.size() : 0);
    }
}

EndOfRun report_end_of_run() {
    EndOfRun end = current_end();
    report(end.line());
    return end;
}

}  // namespace autoresponder
