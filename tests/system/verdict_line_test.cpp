// SPDX-License-Identifier: Apache-2.0

// The line of the log that says what was decided, and that explain decides the same.

#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/system/world.h"

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class VerdictLine : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        write_file("/etc/tva/tva.conf", "AUTORESPONDER_VERDICTS true\n");
    }

    // The last line that the run has written, if that is its verdict.
    static std::string verdict_of(const Outcome& outcome) {
        const std::string start = "autoresponder: Verdict: ";
        const std::size_t begin = outcome.err.rfind(start);
        const bool is_last =
            begin != std::string::npos && outcome.err.find('\n', begin) + 1 == outcome.err.size();
        return is_last ? outcome.err.substr(begin + start.size()) : "(no verdict) " + outcome.err;
    }

    std::string verdict(const std::string& message,
                        const std::string& recipient = "user@example.com") {
        return verdict_of(answer(message, recipient));
    }

    static json explained(const std::string& message,
                          const std::string& recipient = "user@example.com") {
        const Finished finished =
            control({.message = message, .arguments = {"explain", "--json", recipient}});
        json explanation = json::parse(finished.out, nullptr, false);
        EXPECT_FALSE(explanation.is_discarded()) << finished.out << finished.err;
        explanation["status"] = WEXITSTATUS(finished.status);
        return explanation;
    }

    // The verdicts of explain in the words of the log.
    static std::string in_words_of_the_log(const json& explanation) {
        const std::string reason =
            explanation["reason"].is_null() ? "" : explanation["reason"].get<std::string>();
        if (explanation["responders"].empty()) {
            return "not answered, " + reason;
        }
        std::string all;
        for (const json& responder : explanation["responders"]) {
            const std::string word = responder["verdict"];
            all += (all.empty() ? "" : "; ") + responder["id"].get<std::string>();
            all += word == "would answer"       ? " answered"
                   : word == "would not answer" ? " not answered"
                                                : " " + word;
            all +=
                responder["reason"].is_null() ? "" : ", " + responder["reason"].get<std::string>();
        }
        return all;
    }
};

TEST_F(VerdictLine, IsNotWrittenUnlessItIsAskedFor) {
    add_responder(1);
    for (const char* conf :
         {"", "AUTORESPONDER_VERDICTS false\n", "AUTORESPONDER_VERDICTS yes\n"}) {
        write_file("/etc/tva/tva.conf", conf);
        EXPECT_THAT(answer(plain_message()).err, IsEmpty()) << conf;
    }
    write_file("/etc/tva/tva.conf", "AUTORESPONDER_VERDICTS TRUE\n");
    EXPECT_EQ(answer(plain_message()).err,
              "autoresponder: Verdict: user@example.com from sender@example.org: 1 answered\n");
}

TEST_F(VerdictLine, NamesEachResponderInTheServersOrder) {
    add_responder(11, "resp_on='false'");
    add_responder(12, "key_where='subj', keystr='price'");
    add_responder(13, "key_where='body', keystr='Berlin'");
    add_responder(14, "ans_freq='1'");
    add_responder(15, "ans_freq='never'");
    add_responder(16);
    sql("insert into resp_freq set rn_id=14, email='sender@example.org', num=1");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err,
              "autoresponder: Verdict: user@example.com from sender@example.org: "
              "11 not answered, it is switched off; "
              "12 not answered, its key word is not in the subject; "
              "13 not answered, its key word is not in the text; "
              "14 not answered, the limit is reached: 1 of 1 replies to this sender today; "
              "15 not answered, it allows no replies at all: ans_freq is 'never'; "
              "16 answered\n");
    EXPECT_THAT(outcome.mails, SizeIs(1));
}

TEST_F(VerdictLine, SaysWhyNobodyAnswers) {
    EXPECT_EQ(verdict(plain_message()),
              "user@example.com from sender@example.org: not answered, the mailbox has no "
              "responder\n");
    EXPECT_EQ(verdict(plain_message(), "nobody@example.com"),
              "nobody@example.com from sender@example.org: not answered, there is no mailbox "
              "nobody@example.com\n");
    EXPECT_EQ(verdict("From: user@example.com\n\nHello\n"),
              "user@example.com from user@example.com: not answered, it would make a loop: Field "
              "From: equial field To:\n");
    EXPECT_EQ(verdict("Subject: nobody\n\nHello\n"),
              "user@example.com from -: not answered, Could not get sender's e-mail address from "
              "Reply-To: or From: headers.\n");
    EXPECT_EQ(verdict_of(run({.message = plain_message(), .recipient = std::nullopt})),
              "- from -: not answered, Could not get recipient e-mail address from "
              "RESP_RECIPIENT environment variable\n");
}

TEST_F(VerdictLine, NamesTheRuleAboutPeople) {
    write_file("/etc/tva/tva.conf",
               "AUTORESPONDER_VERDICTS true\nAUTORESPONDER_ONLY_PEOPLE true\n");
    add_responder(1);
    add_responder(2, "resp_on='false'");
    EXPECT_EQ(verdict(message_with({"To: user@example.com", "List-Id: <x.example.org>"})),
              "user@example.com from sender@example.org: not answered, only people are answered: "
              "List-Id: field\n");
    EXPECT_EQ(verdict(message_with({"To: all@example.net", "Return-Path: <sender@example.org>"})),
              "user@example.com from sender@example.org: 1 not answered, only people are answered: "
              "recipient in neither To: nor Cc:; 2 not answered, it is switched off\n");
}

TEST_F(VerdictLine, NamesAMailProgramThatEndedBadly) {
    add_responder(1);
    replace_mail_program("cat >/dev/null; exit 111\n");
    EXPECT_EQ(verdict(plain_message()),
              "user@example.com from sender@example.org: 1 answered, mail program ended with "
              "status 111\n");
    replace_mail_program("kill -9 $$\n");
    EXPECT_EQ(verdict(plain_message()),
              "user@example.com from sender@example.org: 1 answered, mail program was ended by "
              "signal 9\n");
    remove_mail_program();
    EXPECT_EQ(verdict(plain_message()),
              "user@example.com from sender@example.org: 1 answered, mail program ended with "
              "status 255\n");
}

TEST_F(VerdictLine, NamesTheMailThatAMailProgramEndedBadlyWith) {
    add_responder(1);
    add_forward(1, "copy@example.net");
    add_attachment(1, "gone.txt");
    replace_mail_program(
        "cat >/dev/null\n"
        "case $3 in copy@*) exit 1;; owner@*) exit 2;; esac\n");
    EXPECT_EQ(verdict(plain_message()),
              "user@example.com from sender@example.org: 1 answered, mail program for the forward "
              "ended with status 1, mail program for the notice ended with status 2\n");
}

TEST_F(VerdictLine, SaysThatAReplyWasCountedAndNotSent) {
    add_responder(1);
    EXPECT_EQ(verdict("From: -x@example.org\n\nHello\n"),
              "user@example.com from -x@example.org: 1 not answered, its reply cannot be sent, but "
              "counts all the same\n");
}

TEST_F(VerdictLine, SaysThatThereWasNoFileForTheMessage) {
    add_responder(1);
    const SmallTmp tmp("nr_inodes=1");
    EXPECT_EQ(answer(plain_message()).err,
              "Could not create a temporary file.\nAbnormal exit.\n"
              "autoresponder: Verdict: user@example.com from -: not answered, Could not create a "
              "temporary file.\n");
}

TEST_F(VerdictLine, NamesTheReasonWhyThereIsNoConnection) {
    write_file("/etc/tva/.tva.shadow", "wrong\n");
    EXPECT_THAT(
        verdict(plain_message()),
        StartsWith("user@example.com from sender@example.org: not answered, Unable to "
                   "connect to Tolva Database: Access denied for user 'admin'@'localhost'"));
}

TEST_F(VerdictLine, IsAtMost600BytesOfPrintableTextWhateverIsSent) {
    for (int id = 1; id <= 60; ++id) {
        add_responder(id, "ans_freq='a\\nb'");
    }
    const std::string sender = "=?\x1b[2J\xc3\xa9" + std::string(2000, 'x') + "@example.org";
    const std::string line = answer("From: \"" + sender + "\"@example.org\n\nHello\n").err;
    EXPECT_THAT(line, AllOf(StartsWith("autoresponder: Verdict: user@example.com from \"=??[2J"),
                            EndsWith("...\n")));
    EXPECT_THAT(line, HasSubstr("...: 1 not answered, it allows no replies at all: ans_freq is "
                                "'a?b'; 2 not answered"));
    EXPECT_EQ(line.size(), 600);
    EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1);
}

TEST_F(VerdictLine, IsNotWrittenByARunThatASignalEnds) {
    add_responder(1);
    replace_mail_program("touch /world/waits; sleep 60\n");
    const std::vector<std::string> before = temporary_files();
    const auto program = start({.message = plain_message()});
    EXPECT_TRUE(soon([] { return std::ifstream("/world/waits").good(); }));
    program->signal(SIGTERM);
    EXPECT_EQ(settle(*program, before).err,
              "autoresponder: Ended by a signal before the message was dealt with.\n");
}

TEST_F(VerdictLine, IsAmongWhatExplainSaysWouldBeLogged) {
    add_responder(1);
    const Finished finished =
        control({.message = plain_message(), .arguments = {"explain", "user@example.com"}});
    EXPECT_THAT(finished.out,
                HasSubstr("The autoresponder would log\n"
                          "  autoresponder: Verdict: user@example.com from sender@example.org: 1 "
                          "answered\n"
                          "Verdict: would answer: responder 1\n"));
}

struct Fault {
    std::string name;
    std::function<void()> provoke;
};

// A panel with every kind of responder, and a fault at each statement that a delivery and an
// explanation both send.
class FailingStatement : public VerdictLine {
  protected:
    void SetUp() override {
        VerdictLine::SetUp();
        sql("insert into domainaliases set dom_id=1, name='example.net'");
        sql("insert into mail_aliases set mn_id=1, alias='info'");
        add_responder(11, "resp_on='false'");
        add_responder(12, "key_where='body', keystr='nowhere'");
        add_responder(13);
        add_responder(14, "ans_freq='1'");
        add_responder(15);
        add_forward(15, "copy@example.net");
        write_attachment("here.txt", "here");
        add_attachment(15, "here.txt");
        add_attachment(15, "gone.txt");
        add_responder(16);
        sql("insert into resp_freq set rn_id=14, email='sender@example.org', num=1");
    }

    static std::vector<Fault> faults() {
        std::vector<Fault> all = {{"none", [] {}}};
        for (const std::string table :
             {"mail", "domains", "mail_aliases", "domainaliases", "mail_resp", "resp_freq",
              "resp_forward", "resp_attach", "clients", "misc"}) {
            all.push_back({table + " is missing", [table] { lose_table(table); }});
        }
        for (const std::string table : {"mail", "mail_aliases", "domainaliases", "mail_resp",
                                        "resp_forward", "resp_attach", "clients"}) {
            all.push_back({"rows of " + table, [table] { spoil_rows(table); }});
        }
        all.push_back({"second row of resp_attach", [] { spoil_rows("resp_attach", 1); }});
        // The count of the senders can be had, the number of this sender's replies cannot.
        all.push_back({"column num", [] { sql("alter table resp_freq rename column num to n"); }});
        all.push_back({"no server", [] { write_file("/etc/tva/.tva.shadow", "wrong\n"); }});
        return all;
    }
};

TEST_F(FailingStatement, LeavesExplainAndTheLogWithTheSameReasons) {
    for (const bool only_people : {false, true}) {
        for (const Fault& fault : faults()) {
            SCOPED_TRACE(fault.name + (only_people ? ", people only" : ""));
            SetUp();
            if (only_people) {
                write_file("/etc/tva/tva.conf",
                           "AUTORESPONDER_VERDICTS true\nAUTORESPONDER_ONLY_PEOPLE true\n");
            }
            fault.provoke();
            const std::string message =
                message_with({"To: info@example.net", "Return-Path: <sender@example.org>"});
            const json explanation = explained(message, "info@example.net");
            const std::string line = verdict(message, "info@example.net");
            const std::string explained_line =
                "info@example.net from sender@example.org: " + in_words_of_the_log(explanation);
            if (line.ends_with("...\n")) {
                EXPECT_THAT(explained_line, StartsWith(line.substr(0, line.size() - 4)));
            } else {
                EXPECT_EQ(line, explained_line + "\n");
            }
            const bool unseen = line.find("not looked at") != std::string::npos;
            if (unseen) {
                EXPECT_EQ(explanation["verdict"], "cannot tell");
                EXPECT_EQ(explanation["status"], 2);
            }
            if (fault.name == "column num") {
                sql("alter table resp_freq rename column n to num");
            }
        }
    }
}

TEST_F(FailingStatement, LeavesLaterRespondersNotLookedAt) {
    // Only responder 15 attaches files.
    spoil_rows("resp_attach");
    const Outcome outcome = answer(message_with({}), "info@example.net");
    EXPECT_THAT(
        verdict_of(outcome),
        HasSubstr("13 answered; 14 not answered, the limit is reached: 1 of 1 replies to "
                  "this sender today; 15 not answered, Unable to exec query :" +
                  kRowFailure + "; 16 not looked at, Unable to exec query :" + kRowFailure));
    const Finished finished =
        control({.message = message_with({}), .arguments = {"explain", "info@example.net"}});
    EXPECT_EQ(WEXITSTATUS(finished.status), 2);
    EXPECT_THAT(
        finished.out,
        AllOf(HasSubstr("Responder 13: would answer\n"),
              HasSubstr("Responder 15: would not answer, Unable to exec query :" + kRowFailure +
                        "\n  is          on\n  condition   none, it answers "
                        "everything\n"),
              HasSubstr("Responder 16: not looked at, Unable to exec query :" + kRowFailure + "\n"),
              EndsWith("Verdict: cannot tell: Unable to exec query :" + kRowFailure + "\n")));
}

}  // namespace
