// SPDX-License-Identifier: Apache-2.0

// autoresponderctl explain: the same verdicts, counts and mails as the autoresponder's own.

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/system/world.h"

namespace {

namespace fs = std::filesystem;

using nlohmann::json;
using testing::Contains;
using testing::Each;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kReplies = "/world/replies";

std::string content_of(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class Explain : public World {
  protected:
    static Finished explain(const std::string& message,
                            const std::string& recipient = "user@example.com",
                            std::vector<std::string> options = {}) {
        options.insert(options.begin(), "explain");
        options.push_back(recipient);
        return control({.message = message, .arguments = options});
    }

    static json explained(const std::string& message,
                          const std::string& recipient = "user@example.com") {
        fs::remove_all(kReplies);
        const Finished finished = explain(message, recipient, {"--json", "--replies", kReplies});
        EXPECT_EQ(finished.err, "");
        json explanation = json::parse(finished.out, nullptr, false);
        EXPECT_FALSE(explanation.is_discarded()) << finished.out;
        explanation["status"] = WEXITSTATUS(finished.status);
        return explanation;
    }

    // What is said about the key word of the one responder.
    static std::string condition(const std::string& message) {
        const std::string text = explain(message).out;
        const std::string label = "  condition   ";
        const std::size_t begin = text.find(label) + label.size();
        return text.substr(begin, text.find('\n', begin) - begin);
    }

    // The verdict's line of the explanation for people.
    static std::string verdict(const std::string& message,
                               const std::string& recipient = "user@example.com") {
        const std::string text = explain(message, recipient).out;
        const std::size_t begin = text.rfind("Verdict: ");
        return begin == std::string::npos ? "(no verdict) " + text : text.substr(begin + 9);
    }
};

// The explanation of a message compared with what then happens to it.
class ExplainedAndAnswered : public Explain {
  protected:
    static std::vector<Row> counts() {
        return sql("select rn_id, email, num from resp_freq order by rn_id, email");
    }

    static void expect_same_mails(const json& explanation, const Outcome& outcome) {
        ASSERT_EQ(explanation["mails"].size(), outcome.mails.size());
        for (std::size_t i = 0; i < outcome.mails.size(); ++i) {
            const json& mail = explanation["mails"][i];
            std::vector<std::string> arguments = {"/usr/sbin/sendmail", "-f", mail["sender"]};
            for (const json& recipient : mail["recipients"]) {
                arguments.push_back(recipient);
            }
            EXPECT_EQ(outcome.mails[i].arguments, arguments);
            const std::string file = mail["file"];
            EXPECT_EQ(content_of(file), outcome.mails[i].message);
            EXPECT_EQ(mail["size"], outcome.mails[i].message.size());
            std::string envelope;
            for (std::size_t line = 2; line < arguments.size(); ++line) {
                envelope += arguments[line] + "\n";
            }
            EXPECT_EQ(content_of(file.substr(0, file.size() - 4) + ".envelope"), envelope);
        }
    }

    // What the table must hold after the run, from what it held and what was said of it.
    static void expect_counts(const json& explanation, const std::vector<Row>& before) {
        const std::string sender =
            explanation["message"].is_null() ? "" : explanation["message"]["sender"];
        std::size_t counted = 0;
        for (const json& responder : explanation["responders"]) {
            const bool within =
                !responder["limit"].is_null() &&
                responder["limit"]["replies_today"] < responder["limit"]["replies_allowed"];
            if (!within) {
                continue;
            }
            ++counted;
            const int replies = responder["limit"]["replies_today"];
            const std::string id = responder["id"];
            EXPECT_THAT(counts(), Contains(Row{id, sender, std::to_string(replies + 1)}));
        }
        if (counted == 0) {
            EXPECT_EQ(counts(), before);
        }
    }

    void hold_together(const std::string& message, const std::string& recipient) {
        const std::vector<Row> before = counts();
        database().sql("truncate mysql.general_log");
        const json explanation = explained(message, recipient);
        EXPECT_EQ(counts(), before) << "explaining has counted";
        EXPECT_THAT(statements(), Each(testing::AnyOf(StartsWith("select "),
                                                      StartsWith("SET SESSION TRANSACTION"))));
        const Outcome outcome = answer(message, recipient);
        const bool answered = explanation["status"] == 0;
        EXPECT_EQ(explanation["verdict"], answered ? "would answer" : "would not answer");
        EXPECT_EQ(answered, std::ranges::any_of(outcome.mails, [&](const Submission& mail) {
                      return explanation["message"].is_object() &&
                             explanation["message"]["sender"] == mail.arguments.back();
                  }));
        EXPECT_EQ(explanation["diagnostics"], outcome.err);
        expect_same_mails(explanation, outcome);
        expect_counts(explanation, before);
    }
};

struct Case {
    const char* name;
    std::function<void()> set_up;
};

struct Letter {
    const char* name;
    std::string message;
    std::string recipient = "user@example.com";
};

std::vector<Letter> letters() {
    const std::string html = "<p>The <b>price</b> list,<br>please</p>\n";
    return {
        {"plain", message_with({"Subject: the price please"}, "We sit in Berlin.\n")},
        {"reply-to", message_with({"Reply-To: Ann <ann@example.net>", "Subject: Hello"})},
        {"empty", ""},
        {"without sender", "Subject: x\n\nprice\n"},
        {"loop", "From: user@example.com\n\nprice\n"},
        {"daemon", "From: MAILER-DAEMON@example.org\n\nprice\n"},
        {"option", "From: -oQ/tmp@example.org\nSubject: price\n\nBerlin\n"},
        {"quote", "From: o'neil@example.org\nSubject: =?utf-8?Q?Gr=C3=BC=C3=9Fe?=\n\nPRICE\n"},
        {"unknown charset",
         message_with({"Subject: =?x-no?Q?a?= price", "Content-Type: text/plain; charset=x-none"},
                      "Berlin \xe9\n")},
        {"koi8-r", message_with({"Subject: =?koi8-r?B?78bJ0w==?=",
                                 "Content-Type: text/plain; charset=koi8-r"},
                                "\xce\xc1 Berlin\n")},
        {"html first",
         message_with({"Subject: Hello", "Content-Type: multipart/alternative; boundary=b"},
                      "--b\nContent-Type: text/html\n\n" + html +
                          "\n--b\nContent-Type: text/plain\n\nBerlin price list\n"
                          "--b--\n")},
        {"nested", message_with({"Subject: Hello", "Content-Type: multipart/mixed; boundary=o"},
                                "--o\nContent-Type: multipart/alternative; boundary=i\n\n"
                                "--i\nContent-Type: text/plain\n\nBerlin\n--i--\n--o--\n")},
        {"picture", message_with({"Subject: price", "Content-Type: image/png"}, "Berlin\n")},
        {"trailing blank", "From: sender@example.org\nSubject: =?utf-8?Q?a?= \t\n \n\nx\n"},
        {"alias", message_with({"Subject: price"}), "info@example.net"},
        {"nobody", message_with({"Subject: price"}), "nobody@example.com"},
        {"without @", message_with({"Subject: price"}), "user"},
    };
}

class Table : public ExplainedAndAnswered {
  protected:
    std::vector<Case> cases() {
        return {
            {"no responder", [] {}},
            {"one", [] { add_responder(1); }},
            {"off", [] { add_responder(1, "resp_on='false'"); }},
            {"null switch", [] { add_responder(1, "resp_on=null"); }},
            {"key words",
             [] {
                 add_responder(1, "key_where='subj', keystr='price', text='by subject'");
                 add_responder(2, "key_where='body', keystr='Berlin', text='by text'");
                 add_responder(3, "key_where='Subj', keystr='nowhere', text='by neither'");
             }},
            {"limit reached",
             [] {
                 add_responder(1, "ans_freq='2'");
                 sql("insert into resp_freq set rn_id=1, email='sender@example.org', num=2");
             }},
            {"limit of yesterday",
             [] {
                 add_responder(1, "ans_freq='1'");
                 sql("insert into resp_freq set rn_id=1, email='sender@example.org', num=1, "
                     "time_resp=now() - interval 2 day");
             }},
            {"limit not reached",
             [] {
                 add_responder(1, "ans_freq='2'");
                 sql("insert into resp_freq set rn_id=1, email='sender@example.org', num=1");
             }},
            {"never", [] { add_responder(1, "ans_freq='never'"); }},
            {"few remembered",
             [] {
                 add_responder(1, "mem_limit='1'");
                 sql("insert into resp_freq set rn_id=1, email='x@example.org', num=1");
             }},
            {"forwards and files",
             [] {
                 add_responder(1, "reply_to='desk@example.com'");
                 add_forward(1, "copy@example.net");
                 add_forward(1, "-x@example.net");
                 add_forward(1, "second@example.net");
                 write_attachment("here.txt", "here");
                 add_attachment(1, " here.txt ");
                 add_attachment(1, "gone.txt");
                 add_attachment(1, "../climbs.txt");
                 add_responder(2, "subject='Re: <request_from>', charset='utf-16'");
             }},
            {"too large",
             [] {
                 add_responder(1, "reply_to='desk@example.com', text=repeat('long ', 1000)");
                 add_responder(2);
                 set_databytes("2000");
             }},
            {"control characters",
             [] { add_responder(1, "reply_to='a\\nb', charset='x\\ny', content_type='\\r'"); }},
        };
    }
};

TEST_F(Table, OfMessagesAndPanelsComesOutTheSame) {
    int pairs = 0;
    for (const Letter& letter : letters()) {
        for (const Case& panel : cases()) {
            SCOPED_TRACE(std::string(letter.name) + ", " + panel.name);
            World::SetUp();
            sql("insert into domainaliases set dom_id=1, name='example.net'");
            sql("insert into mail_aliases set mn_id=1, alias='info'");
            sql("insert into misc set param='admin_email', val='admin@panel.example'");
            panel.set_up();
            if (pairs % 2 == 1) {
                write_file("/etc/tva/tva.conf", "AUTORESPONDER_VERDICTS true\n");
            }
            hold_together(letter.message, letter.recipient);
            ++pairs;
        }
    }
    EXPECT_GE(pairs, 200);
}

TEST_F(Explain, NamesWhatASwitchedOffResponderIs) {
    add_responder(1, "resp_on='false'");
    EXPECT_EQ(verdict(plain_message()), "would not answer: responder 1: it is switched off\n");
}

TEST_F(Explain, NamesTheLetterCaseThatKeepsAKeyWordFromBeingFound) {
    add_responder(1, "key_where='subj', keystr='HELLO'");
    EXPECT_EQ(condition(plain_message()),
              "\"HELLO\" in the subject: not found; it is there, but the letter case differs");
    EXPECT_EQ(verdict(plain_message()),
              "would not answer: responder 1: its key word is not in the subject\n");
    sql("update mail_resp set keystr='о ЦЕНАХ'");
    EXPECT_THAT(
        condition(message_with({"Subject: =?utf-8?Q?=D0=9E_=D1=86=D0=B5=D0=BD=D0=B0=D1=85?="})),
        EndsWith("it is there, but the letter case differs"));
}

TEST_F(Explain, NamesTheLineBreakThatKeepsAKeyWordFromBeingFound) {
    add_responder(1, "key_where='body', keystr='price list'");
    EXPECT_THAT(condition(message_with({}, "Send me the price\nlist.\n")),
                EndsWith("it is there, but with a line break or other blanks in it"));
    sql("update mail_resp set keystr='Price List'");
    EXPECT_THAT(
        condition(message_with({}, "Send me the price\n  list.\n")),
        EndsWith("it is there, but the letter case differs and there is a line break or other "
                 "blanks in it"));
    sql("update mail_resp set keystr='price\\nlist'");
    EXPECT_THAT(condition(message_with({}, "Send me the price\nlist.\n")),
                EndsWith("it contains a line break, but is compared with one line at a time"));
}

TEST_F(Explain, NamesThePlaceThatKeepsAKeyWordFromBeingFound) {
    add_responder(1, "key_where='body', keystr='Hello'");
    EXPECT_THAT(condition(plain_message()), EndsWith("it is in the subject"));
    sql("update mail_resp set key_where='subj', keystr='there?'");
    EXPECT_THAT(condition(plain_message()), EndsWith("it is in the text"));
    sql("update mail_resp set key_where='body', keystr='Berlin'");
    EXPECT_THAT(
        condition(message_with({"Content-Type: multipart/mixed; boundary=o"},
                               "--o\nContent-Type: multipart/alternative; boundary=i\n\n"
                               "--i\nContent-Type: text/plain\n\nin Berlin\n--i--\n--o--\n")),
        EndsWith("it is in part 1.1, text/plain, which is not searched"));
    sql("update mail_resp set keystr='nowhere'");
    EXPECT_EQ(condition(plain_message()), "\"nowhere\" in the text: not found");
    EXPECT_EQ(verdict(plain_message()),
              "would not answer: responder 1: its key word is not in the text\n");
}

TEST_F(Explain, NamesTheLimitThatIsReached) {
    add_responder(1, "ans_freq='2'");
    sql("insert into resp_freq set rn_id=1, email='sender@example.org', num=2");
    EXPECT_EQ(verdict(plain_message()),
              "would not answer: responder 1: the limit is reached: 2 of 2 replies to this sender "
              "today\n");
    sql("update mail_resp set ans_freq='many'");
    EXPECT_EQ(verdict(plain_message()),
              "would not answer: responder 1: it allows no replies at all: ans_freq is 'many'\n");
}

TEST_F(Explain, NamesTheMailboxThatIsMissing) {
    EXPECT_EQ(verdict(plain_message(), "nobody@example.com"),
              "would not answer: there is no mailbox nobody@example.com\n");
}

TEST_F(Explain, CannotTellWithAWrongPassword) {
    write_file("/etc/tva/.tva.shadow", "wrong\n");
    const Finished finished = explain(plain_message());
    EXPECT_EQ(WEXITSTATUS(finished.status), 2);
    EXPECT_THAT(finished.out, HasSubstr("Verdict: cannot tell: Unable to connect to Tolva "
                                        "Database: Access denied for user 'admin'@'localhost'"));
    const json explanation =
        json::parse(explain(plain_message(), "user@example.com", {"--json"}).out);
    EXPECT_EQ(explanation["verdict"], "cannot tell");
}

TEST_F(Explain, CannotTellWhatDependsOnATableThatIsMissing) {
    add_responder(1);
    lose_table("resp_forward");
    const Finished finished = explain(plain_message());
    EXPECT_EQ(WEXITSTATUS(finished.status), 2);
    EXPECT_THAT(finished.out, HasSubstr("Verdict: cannot tell: Unable to exec query :"));
}

TEST_F(Explain, SaysThatAReplyIsCountedAndNotSent) {
    add_responder(1);
    EXPECT_EQ(verdict("From: -x@example.org\n\nHello\n"),
              "would not answer: responder 1: its reply cannot be sent, but counts all the same\n");
}

TEST_F(Explain, TellsWhatWasTakenFromTheMessage) {
    add_responder(1);
    const std::string text =
        explain(message_with({"Reply-To: Ann <ann@example.net>", "Date: today",
                              "Subject: =?iso-8859-1?Q?caf=E9?=",
                              "Content-Type: multipart/mixed; boundary=o"},
                             "--o\nContent-Type: multipart/related; boundary=i\n\n--i--\n"
                             "--o\nContent-Type: TEXT/HTML; charset=koi8-r\n\n<p>1\n2\n3\n4\n5\n6\n"
                             "--o--\n"))
            .out;
    EXPECT_THAT(text, HasSubstr("  sender      ann@example.net, from Reply-To:\n"
                                "  subject     caf\xC3\xA9\n"
                                "  date        today\n"
                                "  text        part 2 of 2, TEXT/HTML\n"
                                "              a multipart/related within it is not searched\n"
                                "              key words are looked for in its HTML source\n"
                                "  charset     koi8-r\n"
                                "              | <p>1\n"
                                "              | 2\n"
                                "              | 3\n"
                                "              | 4\n"
                                "              | 5\n"
                                "              | ...\n"
                                "  loop        none\n"));
}

TEST_F(Explain, MarksATextOnlyWhereMoreFollows) {
    add_responder(1);
    const auto shown = [](const std::string& body) {
        const std::string text = explain(message_with({}, body)).out;
        const std::size_t begin = text.find("  charset");
        return text.substr(begin, text.find("  loop") - begin);
    };
    const std::string charset = "  charset     US-ASCII\n";
    const auto lines = [](int last) {
        std::string text;
        for (int number = 1; number <= last; ++number) {
            text += "              | " + std::to_string(number) + "\n";
        }
        return text;
    };
    EXPECT_EQ(shown("1\n"), charset + lines(1));
    EXPECT_EQ(shown("1\n2\n3\n4\n5\n"), charset + lines(5));
    EXPECT_EQ(shown("1\n2\n3\n4\n5\n\n\r\n"), charset + lines(5));
    EXPECT_EQ(shown("1\n2\n3\n4\n5\n\n6\n"), charset + lines(5) + "              | ...\n");
    EXPECT_EQ(shown("\n\n1\n"), charset + "              | \n              | \n" + lines(1));
    EXPECT_EQ(shown("1\r\n2\r\n"), charset + "              | 1\\x0d\n              | 2\\x0d\n");
    EXPECT_EQ(shown("\n\n"), charset);
}

TEST_F(Explain, ShowsWhatTheAutoresponderWouldLog) {
    EXPECT_THAT(explain(plain_message(), "nobody@example.com").out,
                HasSubstr("The autoresponder would log\n  autoresponder: Mailname not found: "));
}

TEST_F(ExplainedAndAnswered, WhereOnlyPeopleAreAnswered) {
    write_file("/etc/tva/tva.conf", "AUTORESPONDER_ONLY_PEOPLE true\n");
    add_responder(1);
    sql("insert into mail_aliases set mn_id=1, alias='info'");
    const std::vector<std::string> messages = {
        message_with({"To: user@example.com", "Return-Path: <sender@example.org>",
                      "Message-ID: <1@example.org>"}),
        message_with({"To: INFO@example.com", "Return-Path: <sender@example.org>"}),
        message_with({"To: all@example.net", "Return-Path: <sender@example.org>"}),
        message_with({"To: user@example.com", "Return-Path: <>"}),
        message_with({"To: user@example.com", "List-Id: <x.example.org>"}),
        message_with({"To: user@example.com", "Precedence: bulk"}),
        "From: info@example.com\nTo: user@example.com\nReturn-Path: <x@example.org>\n\nHello\n",
    };
    for (const std::string& message : messages) {
        SCOPED_TRACE(message);
        sql("delete from resp_freq");
        hold_together(message, "user@example.com");
    }
    EXPECT_EQ(verdict(messages[4]), "would not answer: only people are answered: List-Id: field\n");
    EXPECT_EQ(explained(messages[4])["not_a_person"], "List-Id: field");
    EXPECT_THAT(explain(messages[0]).out,
                HasSubstr("  answers     only people; the sender counts as one\n"));
}

TEST_F(Explain, SaysThatAMessageIsEmpty) {
    EXPECT_THAT(explain("").out, HasSubstr("the message is empty\n"));
}

TEST_F(Explain, ShowsNothingThatCouldMoveTheCursor) {
    add_responder(1, "key_where='subj', keystr='\\x1b[2J'");
    for (const char c :
         explain("From: \"\x1b[1m\"@example.org\nSubject: \x1b[2J\x07\xff\n\n\x1b]0;x\x07\n").out) {
        EXPECT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= ' ') << int{c};
    }
}

TEST_F(Explain, IsPlainWhenItIsNoTerminalThatReads) {
    EXPECT_THAT(explain(plain_message()).out, Not(HasSubstr("\x1b")));
}

TEST_F(Explain, RefusesAWrongCall) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{},
          {"explain"},
          {"explain", "a@b", "c@d"},
          {"explain", "--no"},
          {"explain", "--replies"},
          {"unknown"},
          {"check", "x"},
          {"answered"},
          {"answered", "a@b", "--clear", "x", "--clear-all"},
          {"answered", "a@b", "--clear", "", "--clear-all"}}) {
        const Finished finished = control({.message = plain_message(), .arguments = arguments});
        EXPECT_EQ(WEXITSTATUS(finished.status), 2);
        EXPECT_EQ(finished.out, "");
        EXPECT_THAT(finished.err, testing::MatchesRegex(
                                      "autoresponderctl: [^\n]*; see autoresponderctl --help\n"));
    }
}

TEST_F(Explain, RefusesAMessageThatCannotBeRead) {
    const Finished finished =
        control({.input_path = "/etc", .arguments = {"explain", "user@example.com"}});
    EXPECT_EQ(WEXITSTATUS(finished.status), 2);
    EXPECT_EQ(finished.err, "autoresponderctl: the message cannot be read: Is a directory (21)\n");
}

TEST_F(Explain, RefusesAMessageOnAClosedStream) {
    const Finished finished = control(
        {.message = plain_message(), .closed = {0}, .arguments = {"explain", "user@example.com"}});
    EXPECT_EQ(WEXITSTATUS(finished.status), 2);
    EXPECT_EQ(finished.out, "");
    EXPECT_EQ(finished.err,
              "autoresponderctl: the message cannot be read: Bad file descriptor (9)\n");
}

TEST_F(Explain, SaysThatNobodyReadsTheExplanation) {
    add_responder(1);
    const Finished finished = control(
        {.message = plain_message(), .closed = {1}, .arguments = {"explain", "user@example.com"}});
    EXPECT_EQ(WEXITSTATUS(finished.status), 2);
    EXPECT_EQ(finished.err, "autoresponderctl: the output cannot be written\n");
}

TEST_F(Explain, NeedsNoStandardError) {
    add_responder(1);
    const Finished expected = explain(plain_message());
    const Finished finished = control(
        {.message = plain_message(), .closed = {2}, .arguments = {"explain", "user@example.com"}});
    EXPECT_EQ(WEXITSTATUS(finished.status), 0);
    EXPECT_EQ(finished.out, expected.out);
}

TEST_F(Explain, DoesNothingWithAClosedStreamThatNothingCanStandInFor) {
    add_responder(1);
    fs::remove_all(kReplies);
    const NoDevices no_devices;
    for (const std::vector<int>& closed :
         std::vector<std::vector<int>>{{0}, {1}, {2}, {0, 1}, {1, 2}, {0, 1, 2}}) {
        SCOPED_TRACE(testing::PrintToString(closed));
        const Finished finished =
            control({.message = plain_message(),
                     .closed = closed,
                     .arguments = {"explain", "--replies", kReplies, "user@example.com"}});
        EXPECT_EQ(WEXITSTATUS(finished.status), 2);
        EXPECT_EQ(finished.out, "");
        EXPECT_EQ(finished.err, closed.back() == 2
                                    ? ""
                                    : "autoresponderctl: a standard stream is closed, and "
                                      "/dev/null cannot be opened in its place: No such file or "
                                      "directory (2)\n");
        EXPECT_FALSE(fs::exists(kReplies));
        EXPECT_THAT(statements(), testing::IsEmpty());
    }
}

// What explain --replies writes, and where it does not. A message draws a forward and a reply.
class ExplainedMails : public Explain {
  protected:
    // For each name in a directory the bytes of the file, or what else it is.
    using Content = std::map<std::string, std::string>;

    void SetUp() override {
        World::SetUp();
        add_responder(1);
        add_forward(1, "copy@example.net");
        fs::remove_all(kReplies);
        fs::remove_all(kElsewhere);
    }

    static constexpr const char* kElsewhere = "/world/elsewhere";

    static Content content(const std::string& directory) {
        Content content;
        for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
            const fs::file_type type = entry.symlink_status().type();
            content[entry.path().filename()] = type == fs::file_type::regular
                                                   ? content_of(entry.path())
                                                   : "type " + std::to_string(int(type));
        }
        return content;
    }

    static Content both_mails() {
        return {{"1-forward.eml", plain_message() + "\n"},
                {"1-forward.envelope", "user@example.com\ncopy@example.net\n"},
                {"2-reply.eml", plain_reply()},
                {"2-reply.envelope", "user@example.com\nsender@example.org\n"}};
    }

    static void make_directory(mode_t mode, const char* path = kReplies) {
        fs::create_directory(path);
        fs::permissions(path, fs::perms(mode));
    }

    // Why nothing is written to that directory; the command must end at once with status 2.
    static std::string refusal(const std::string& directory = kReplies) {
        const Finished finished =
            explain(plain_message(), "user@example.com", {"--replies", directory});
        EXPECT_EQ(WEXITSTATUS(finished.status), 2);
        EXPECT_EQ(finished.out, "");
        return finished.err;
    }
};

TEST_F(ExplainedMails, AreWrittenToADirectoryThatIsMadeForThem) {
    const Finished finished = explain(plain_message(), "user@example.com", {"--replies", kReplies});
    EXPECT_EQ(WEXITSTATUS(finished.status), 0);
    EXPECT_EQ(finished.err, "");
    EXPECT_EQ(content(kReplies), both_mails());
    EXPECT_EQ(fs::status(kReplies).permissions(), fs::perms(0700));
    for (const auto& [name, bytes] : both_mails()) {
        EXPECT_EQ(fs::status(fs::path(kReplies) / name).permissions(), fs::perms(0600)) << name;
    }
}

TEST_F(ExplainedMails, AreWrittenBesideFilesOfOtherNames) {
    make_directory(0755);
    write_file(std::string(kReplies) + "/1-reply.eml", "another mail");
    const Finished finished =
        explain(plain_message(), "user@example.com", {"--replies", std::string(kReplies) + "//"});
    EXPECT_EQ(WEXITSTATUS(finished.status), 0);
    EXPECT_EQ(finished.err, "");
    Content expected = both_mails();
    expected["1-reply.eml"] = "another mail";
    EXPECT_EQ(content(kReplies), expected);
}

TEST_F(ExplainedMails, AreNotWrittenWhereThereIsNoDirectory) {
    EXPECT_EQ(refusal("/etc/passwd"),
              "autoresponderctl: cannot write to /etc/passwd: Not a directory (20)\n");
    ASSERT_EQ(mkfifo(kReplies, 0666), 0);
    EXPECT_EQ(refusal(),
              "autoresponderctl: cannot write to /world/replies: Not a directory (20)\n");
}

TEST_F(ExplainedMails, AreNotWrittenThroughALink) {
    make_directory(0700, kElsewhere);
    fs::create_directory_symlink(kElsewhere, kReplies);
    for (const char* path : {"/world/replies", "/world/replies/", "/world/replies//"}) {
        EXPECT_EQ(refusal(path),
                  "autoresponderctl: cannot write to /world/replies: Not a directory (20)\n");
    }
    EXPECT_EQ(content(kElsewhere), Content());
    fs::remove(kElsewhere);
    EXPECT_EQ(refusal(),
              "autoresponderctl: cannot write to /world/replies: Not a directory (20)\n");
    EXPECT_FALSE(fs::exists(kElsewhere));
}

TEST_F(ExplainedMails, AreNotWrittenToTheDirectoryOfSomebodyElse) {
    if (!nobody_exists()) {
        GTEST_SKIP() << "no user besides root";
    }
    make_directory(0700);
    ASSERT_EQ(chown(kReplies, kNobody, 0), 0);
    EXPECT_EQ(refusal(),
              "autoresponderctl: cannot write to /world/replies: it belongs to user 65534\n");
    EXPECT_EQ(content(kReplies), Content());
}

TEST_F(ExplainedMails, AreWrittenByTheDirectorysOwnerWhoeverThatIs) {
    if (!nobody_exists()) {
        GTEST_SKIP() << "no user besides root";
    }
    make_directory(0755);
    const auto as_nobody = [] {
        return control({.message = plain_message(),
                        .as_nobody = true,
                        .arguments = {"explain", "--replies", kReplies, "user@example.com"}});
    };
    const Finished refused = as_nobody();
    EXPECT_EQ(WEXITSTATUS(refused.status), 2);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(refused.err,
              "autoresponderctl: cannot write to /world/replies: it belongs to user 0\n");
    // An ordinary user can neither read the password nor make anything up: there are no mails.
    ASSERT_EQ(chown(kReplies, kNobody, 0), 0);
    const Finished accepted = as_nobody();
    EXPECT_EQ(accepted.err, "");
    EXPECT_THAT(accepted.out, EndsWith("Verdict: cannot tell: Unable to open admin password file: "
                                       "Permission denied\n"));
}

TEST_F(ExplainedMails, AreNotWrittenWhereOthersMayWrite) {
    for (const mode_t mode : {0720U, 0702U, 0775U, 01777U}) {
        make_directory(mode);
        EXPECT_EQ(refusal(),
                  "autoresponderctl: cannot write to /world/replies: its group or others "
                  "may write to it\n");
        EXPECT_EQ(content(kReplies), Content());
    }
}

TEST_F(ExplainedMails, AreNotWrittenWhereAnAccessControlListLetsOthersWrite) {
    struct Entry {
        std::uint16_t tag;
        std::uint16_t rights;
        std::uint32_t id;
    };
    struct {
        std::uint32_t version = 2;
        std::array<Entry, 5> entries = {{{0x01, 7, ~0U},      // the owner
                                         {0x02, 7, kNobody},  // a user by name
                                         {0x04, 0, ~0U},      // the group
                                         {0x10, 7, ~0U},      // the mask
                                         {0x20, 0, ~0U}}};    // others
    } list;
    make_directory(0700);
    if (setxattr(kReplies, "system.posix_acl_access", &list, sizeof list, 0) != 0) {
        GTEST_SKIP() << "no access control lists here";
    }
    EXPECT_EQ(refusal(),
              "autoresponderctl: cannot write to /world/replies: its group or others "
              "may write to it\n");
    EXPECT_EQ(content(kReplies), Content());
}

TEST_F(ExplainedMails, AreNotWrittenIfAnyOfTheNamesExists) {
    const std::vector<std::function<void(const std::string&)>> obstacles = {
        [](const std::string& path) {
            write_file(path, "kept");
            fs::permissions(path, fs::perms(0666));
        },
        [](const std::string& path) { ASSERT_EQ(mkfifo(path.c_str(), 0666), 0); },
        [](const std::string& path) { fs::create_symlink("victim", path); },
        [](const std::string& path) { fs::create_directory(path); }};
    for (const auto& [name, bytes] : both_mails()) {
        for (const auto& put_obstacle : obstacles) {
            SCOPED_TRACE(name);
            fs::remove_all(kReplies);
            make_directory(0700);
            put_obstacle(std::string(kReplies) + "/" + name);
            const Content before = content(kReplies);
            EXPECT_EQ(refusal(), "autoresponderctl: cannot write /world/replies/" + name +
                                     ": File exists (17)\n");
            EXPECT_EQ(content(kReplies), before);
        }
    }
}

TEST_F(ExplainedMails, AreAllRemovedIfOneOfThemDoesNotFit) {
    make_directory(0700);
    write_attachment("large.txt", std::string(40'000, 'x'));
    add_attachment(1, "large.txt");
    ASSERT_EQ(mount("small", kReplies, "tmpfs", 0, "size=16k,mode=700"), 0);
    const std::string reason = refusal();
    const Content left = content(kReplies);
    umount2(kReplies, MNT_DETACH);
    EXPECT_EQ(reason,
              "autoresponderctl: cannot write /world/replies/2-reply.eml: No space left on "
              "device (28)\n");
    EXPECT_EQ(left, Content());
}

TEST_F(ExplainedMails, AreNotWrittenTwice) {
    explain(plain_message(), "user@example.com", {"--replies", kReplies});
    sql("update mail_resp set text='Back again.'");
    EXPECT_EQ(refusal(),
              "autoresponderctl: cannot write /world/replies/1-forward.eml: File exists (17)\n");
    EXPECT_EQ(content(kReplies), both_mails());
}

TEST_F(Explain, SaysItsVersionAndHowToCallIt) {
    const Finished help = control({.arguments = {"--help"}});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, StartsWith("usage: autoresponderctl explain "));
    EXPECT_THAT(control({.arguments = {"--version"}}).out,
                testing::MatchesRegex("autoresponderctl [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

}  // namespace
