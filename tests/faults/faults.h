#pragma once

// The fixture of the fault tests: a run that does everything the program can do, what has to hold
// of it whatever goes wrong, and the figures.

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/system/world.h"

// One thing that goes wrong in a run.
struct Fault {
    std::string name;       // for messages
    Invocation invocation;  // of the program, or of the one that makes it go wrong
    // What happens to the program from outside while it runs.
    std::function<void(const Program&)> meanwhile = {};
    // Whether it can still say something on its standard error.
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
class Faults : public World {
  public:
    // To be called once: where to find what the tests start besides World::install, and whether to
    // try every fault rather than a sample.
    static void install(const std::string& injector, const std::string& failing_allocations,
                        bool every_fault);

  protected:
    void SetUp() override;
    void TearDown() override;

    // Runs the program with this fault and fails the test unless
    //
    // - it ends with status 0 within kMostSeconds and leaves no file in /tmp;
    // - each mail is handed over whole, or a line on standard error says something;
    // - no mail is handed over twice, or altered in a way that no line tells of;
    // - each responder that handed over a mail has counted it.
    void endure(const Fault& fault);

    // The start of the program that every fault is added to.
    [[nodiscard]] static Invocation plain_start();
    // The same with the system calls that the injector counts. `log` may be empty.
    [[nodiscard]] static Invocation injected(const std::string& fault, const std::string& log = "");
    // The same with a failing allocation, "7" or "7+".
    [[nodiscard]] static Invocation failing_allocation(const std::string& which,
                                                       const std::string& count_file = "");

    // The numbers from 1 to `count`, or about `sample` of them evenly spread.
    [[nodiscard]] static std::vector<unsigned long> numbers(unsigned long count,
                                                            unsigned long sample);
    [[nodiscard]] static bool every_fault();

    // The lines of a file in /world that a run wrote.
    static std::string world_file(const std::string& name);

    static constexpr int kMostSeconds = 20;

  private:
    void restore_counts();
    std::vector<std::string> complaints_about(const Fault& fault, const Finished& finished,
                                              const std::vector<Submission>& mails);
    std::map<int, int> counted();

    std::vector<Submission> expected_;  // the mails of a run without a fault
    // What else may stand in place of a mail of these, see Part ... in the source.
    int tried_ = 0;
    int survived_ = 0;
    int files_left_ = 0;
    int silent_ = 0;
    int stalled_ = 0;
};
