// SPDX-License-Identifier: Apache-2.0

#include <fcntl.h>
#include <getopt.h>

#include <array>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "control/answered.h"
#include "control/check.h"
#include "control/explain.h"
#include "control/explanation.h"
#include "control/failure.h"
#include "control/version.h"
#include "core/message/incoming_message.h"
#include "core/run/diagnostics.h"
#include "core/run/run_end.h"
#include "core/run/run_start.h"
#include "support/log.h"
#include "support/result.h"

namespace autoresponder::control {

namespace {

constexpr int kCannot = 2;  // a wrong call, or something that cannot be found out

constexpr std::string_view kHelp =
    "usage: autoresponderctl explain [--json] [--replies DIRECTORY] RECIPIENT < message\n"
    "       autoresponderctl check\n"
    "       autoresponderctl answered RECIPIENT [--clear SENDER | --clear-all]\n"
    "\n"
    "explain   says what the autoresponder would do with a message, and why; sends and\n"
    "          counts nothing. --json: for programs. --replies: writes the mails that\n"
    "          would be handed over to files in DIRECTORY.\n"
    "check     says whether the autoresponder finds all that it needs on this machine.\n"
    "answered  lists whom the responders of a mailbox answered today. --clear and\n"
    "          --clear-all let a sender, or all of them, be answered again.\n"
    "\n"
    "Exit status: 0 for yes (would answer, all good, done), 1 for no, 2 if it cannot tell.\n"
    "See autoresponderctl(8).\n";

int explain_message(bool json, const std::optional<std::string>& replies,
                    const std::string& recipient) {
    const MessageInput message = read_message();
    if (!message.read) {
        throw Failure("the message cannot be read: " + error_text(message.read.error()));
    }
    const Explanation explanation = explain(message.text, recipient, replies);
    std::cout << (json ? to_json(explanation) + "\n" : to_text(explanation));
    return static_cast<int>(explanation.answer);
}

// The options and operands of a command, which getopt_long(3) has put last.
struct Arguments {
    bool json = false;
    std::optional<std::string> replies;
    std::optional<std::string> clear;
    bool clear_all = false;
    std::vector<std::string> operands;
};

Arguments parse(int argc, char* argv[], std::span<const option> options) {
    Arguments arguments;
    opterr = 0;
    for (int found = 0; (found = getopt_long(argc, argv, "", options.data(), nullptr)) != -1;) {
        switch (found) {
            case 'j':
                arguments.json = true;
                break;
            case 'r':
                arguments.replies = optarg;
                break;
            case 'c':
                arguments.clear = optarg;
                break;
            case 'a':
                arguments.clear_all = true;
                break;
            default:
                throw UsageError(std::string("cannot make sense of ") + argv[optind - 1]);
        }
    }
    arguments.operands.assign(argv + optind, argv + argc);
    return arguments;
}

std::string recipient_of(const Arguments& arguments) {
    if (arguments.operands.size() != 1) {
        throw UsageError("one recipient is needed");
    }
    return arguments.operands.front();
}

int run_explain(int argc, char* argv[]) {
    constexpr std::array options = {option{"json", no_argument, nullptr, 'j'},
                                    option{"replies", required_argument, nullptr, 'r'}, option{}};
    const Arguments arguments = parse(argc, argv, options);
    return explain_message(arguments.json, arguments.replies, recipient_of(arguments));
}

int run_check(int argc, char* argv[]) {
    if (!parse(argc, argv, std::array{option{}}).operands.empty()) {
        throw UsageError("check takes no arguments");
    }
    return check_installation() ? EXIT_SUCCESS : EXIT_FAILURE;
}

int run_answered(int argc, char* argv[]) {
    constexpr std::array options = {option{"clear", required_argument, nullptr, 'c'},
                                    option{"clear-all", no_argument, nullptr, 'a'}, option{}};
    const Arguments arguments = parse(argc, argv, options);
    const std::string recipient = recipient_of(arguments);
    if (arguments.clear && arguments.clear_all) {
        throw UsageError("--clear and --clear-all exclude each other");
    }
    if (arguments.clear || arguments.clear_all) {
        clear_answered(recipient, arguments.clear);
    } else {
        list_answered(recipient);
    }
    return EXIT_SUCCESS;
}

int run(int argc, char* argv[]) {
    const std::string_view command = argc > 1 ? argv[1] : "";
    if (command == "--help") {
        std::cout << kHelp;
        return EXIT_SUCCESS;
    }
    if (command == "--version") {
        std::cout << "autoresponderctl " << kVersion << "\n";
        return EXIT_SUCCESS;
    }
    if (command == "explain") {
        return run_explain(argc - 1, argv + 1);
    }
    if (command == "check") {
        return run_check(argc - 1, argv + 1);
    }
    if (command == "answered") {
        return run_answered(argc - 1, argv + 1);
    }
    throw UsageError(command.empty() ? "no command was given"
                                     : "there is no command " + std::string(command));
}

void open_streams_or_fail() {
    // A closed stream must not look like an empty message, or like somebody who reads the output.
    if (const tolva::Result<void> open = open_standard_streams(O_PATH); !open) {
        throw Failure("a standard stream is closed, and /dev/null cannot be opened in its place: " +
                      error_text(open.error()));
    }
}

int run_and_report(int argc, char* argv[]) {
    try {
        open_streams_or_fail();
        const int status = run(argc, argv);
        std::cout.flush();
        if (!std::cout) {
            throw Failure("the output cannot be written");
        }
        return status;
    } catch (const UsageError& error) {
        report("autoresponderctl: ", error.what(), "; see autoresponderctl --help");
    } catch (const EndOfRun& end) {
        report("autoresponderctl: ", end.line());
    } catch (const std::exception& error) {
        report("autoresponderctl: ", error.what());
    }
    return kCannot;
}

}  // namespace

}  // namespace autoresponder::control

int main(int argc, char* argv[]) {
    PROGNAME =
        "autoresponder";  // what the support library says is said in the autoresponder's name
    messlog_set_end([](int /*status*/) {});
    return autoresponder::control::run_and_report(argc, argv);
}
