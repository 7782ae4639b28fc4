// SPDX-License-Identifier: Apache-2.0

#pragma once

// A run that does everything the program can do, and what has to hold of it whatever goes wrong.

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "tests/faults/faults.h"  // IWYU pragma: export

// One thing that goes wrong in a run.
struct Fault {
    std::string name;       // for messages
    Invocation invocation;  // of the program, or of the one that makes it go wrong
    // What happens to the program from outside while it runs.
    std::function<void(const Program&)> meanwhile = {};
    // Whether the mail program stores what it is given, so that it can be held against the mails of
    // an undisturbed run.
    bool mails_are_stored = true;
    // Whether the program is able to remove its files and to say something.
    bool can_remove_files = true;
    bool can_speak = true;
};

// The panel has three responders for a message in KOI8-R whose subject and text they look at:
//
// 1. attaches a file of the mailbox's owner, misses one, forwards, has answered the sender before;
// 2. the same, in KOI8-R, and answers the sender for the first time;
// 3. replies with more than the mail system's size limit, and has to forget a sender for it.
//
// So the mails are, in this order: forward, notice, reply, forward, notice, reply, notice about the
// size.
class FullRun : public Faults {
  protected:
    void SetUp() override;

    [[nodiscard]] static Invocation plain_start();

    // Runs the program, without a fault, as endure() does. It must do all that it has to do.
    Outcome rehearse(const Invocation& invocation);

    // Runs the program with this fault and fails the test unless
    //
    // - it ends with status 0 within kMostSeconds and leaves no file in /tmp;
    // - every mail is handed over whole, or a line on standard error says something;
    // - no mail is handed over twice.
    //
    // A setting or file that could not be read counts as absent for the program, in silence: so a
    // mail is whole, too, if a run without the setting or file sends it.
    void endure(const Fault& fault);

  private:
    static void restore_counts();
    void hold_against_expected(const Fault& fault, Run& run) const;
    [[nodiscard]] bool is_whole(std::size_t number, const Submission& mail) const;

    // The mails of an undisturbed run; then those of runs with something absent.
    std::vector<std::vector<Submission>> expected_;
};
