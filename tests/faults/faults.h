#pragma once

// The fixture of the fault tests: a run that does everything the program can do, what has to hold
// of it whatever goes wrong, and the figures.

#include <functional>
#include <string>
#include <vector>

#include "tests/system/world.h"

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

// What the tests of the process have seen.
struct Figures {
    unsigned long tried = 0;
    unsigned long held = 0;
    unsigned long stalls = 0;
    unsigned long files_left = 0;
    unsigned long silent = 0;  // runs in which a mail was missing, cut or altered without a word
};

// The panel has three responders for a message in KOI8-R whose subject and text they look at:
//
// 1. attaches a file of the mailbox's owner, misses one, forwards, has answered the sender before;
// 2. the same, in KOI8-R, and answers the sender for the first time;
// 3. replies with more than the mail system's size limit, and has to forget a sender for it.
//
// So the mails are, in this order: forward, notice, reply, forward, notice, reply, notice about the
// size.
class Faults : public World {
  public:
    // To be called once: what the tests start besides what World::install takes, and whether to try
    // every fault rather than a sample.
    static void install(const std::string& injector, const std::string& failing_allocations,
                        bool every_fault);

    static const Figures& figures();

  protected:
    void SetUp() override;
    void TearDown() override;

    // Runs the program with this fault and fails the test unless
    //
    // - it ends with status 0 within kMostSeconds and leaves no file in /tmp;
    // - every mail is handed over whole, or a line on standard error says something;
    // - no mail is handed over twice.
    //
    // A setting or file that could not be read counts as absent for the program, in silence: so a
    // mail is whole, too, if a run without the setting or file sends it.
    void endure(const Fault& fault);

    // Runs the program, without a fault, as endure() does. It must do all that it has to do.
    Outcome rehearse(const Invocation& invocation);

    // For a run that is not one of this panel's: counts it, and fails the test unless it ended with
    // status 0 within `seconds` and left no file.
    Outcome outlive(const std::string& name, const Invocation& invocation,
                    int seconds = kMostSeconds);

    // The start of the program that every fault is added to.
    [[nodiscard]] static Invocation plain_start();
    // The same under the injector; inject.cpp tells what `fault` may be. The file /world/`log` gets
    // the calls.
    [[nodiscard]] static Invocation injected(const std::string& fault, const std::string& log = "");
    // The same with failing allocations; failing_allocations.cpp tells what `which` may be. The
    // file /world/`count` gets their number.
    [[nodiscard]] static Invocation failing_allocation(const std::string& which,
                                                       const std::string& count = "");

    // The numbers from 1 to `count`, or about `sample` of them evenly spread.
    [[nodiscard]] static std::vector<unsigned long> numbers(unsigned long count,
                                                            unsigned long sample);
    [[nodiscard]] static bool every_fault();

    static constexpr int kMostSeconds = 20;

  private:
    struct Run;

    static void restore_counts();
    static Run run_once(const Invocation& invocation,
                        const std::function<void(const Program&)>& meanwhile, int seconds);
    static void count(const std::string& name, const Run& run);
    void hold_against_expected(const Fault& fault, Run& run) const;
    [[nodiscard]] bool is_whole(std::size_t number, const Submission& mail) const;

    std::vector<Submission> expected_;
    std::vector<std::vector<Submission>> with_something_absent_;  // in the same order
};
