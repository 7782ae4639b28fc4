// SPDX-License-Identifier: Apache-2.0

// Finding the mailbox: directly, through aliases, or not at all; and the database itself missing.

#include <sys/resource.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/system/world.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

std::string direct_query(const std::string& domain, const std::string& name) {
    return "select m.id, m.mail_name, d.name from mail m, domains d where m.dom_id=d.id and "
           "d.name='" +
           domain + "' and m.mail_name='" + name + "'";
}

std::string alias_query(const std::string& domain, const std::string& name) {
    return "select m.id, m.mail_name, d.name from mail m, mail_aliases ma, domains d where "
           "m.id=ma.mn_id and m.dom_id=d.id and d.name='" +
           domain + "' and ma.alias='" + name + "'";
}

std::string domain_alias_query(const std::string& domain, const std::string& name) {
    return "select m.id, m.mail_name, d.name from mail m, domains d, domainaliases da where "
           "m.dom_id=d.id and d.id=da.dom_id and da.name='" +
           domain + "' and m.mail_name='" + name + "' and da.mail='true'";
}

std::string both_aliases_query(const std::string& domain, const std::string& name) {
    return "select m.id, m.mail_name, d.name from mail m, mail_aliases ma, domains d, "
           "domainaliases da where m.id=ma.mn_id and m.dom_id=d.id and d.id=da.dom_id and "
           "da.name='" +
           domain + "' and ma.alias='" + name + "' and da.mail='true'";
}

class Mailbox : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        add_responder(1);
        sql("insert into mail_aliases set mn_id=1, alias='info'");
        sql("insert into domainaliases set dom_id=1, name='example.net', mail='true'");
        sql("insert into domainaliases set dom_id=1, name='off.example', mail='false'");
    }
};

TEST_F(Mailbox, ADirectMailboxSendsNoAliasQuery) {
    sql("insert into mail_aliases set mn_id=1, alias='user'");
    EXPECT_THAT(answer(plain_message()).mails, SizeIs(1));
    const std::vector<std::string> sent = statements();
    ASSERT_THAT(sent, SizeIs(testing::Ge(2U)));
    EXPECT_EQ(sent[0], direct_query("example.com", "user"));
    EXPECT_EQ(sent[1],
              "select id, keystr, key_where, text, resp_on, ans_freq, mem_limit, subject, "
              "reply_to, charset, content_type from mail_resp where mn_id=1");
}

TEST_F(Mailbox, AMailAliasIsFoundBySecondQuery) {
    const Outcome outcome = answer(plain_message(), "info@example.com");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].arguments[2], "info@example.com");
    const std::vector<std::string> sent = statements();
    EXPECT_EQ(sent.at(0), direct_query("example.com", "info"));
    EXPECT_EQ(sent.at(1), alias_query("example.com", "info"));
    EXPECT_THAT(sent.at(2), testing::EndsWith("from mail_resp where mn_id=1"));
}

TEST_F(Mailbox, ADomainAliasIsFoundByTheThirdQuery) {
    EXPECT_THAT(answer(plain_message(), "user@example.net").mails, SizeIs(1));
    const std::vector<std::string> sent = statements();
    EXPECT_EQ(sent.at(1), alias_query("example.net", "user"));
    EXPECT_EQ(sent.at(2), domain_alias_query("example.net", "user"));
    EXPECT_THAT(sent.at(3), testing::EndsWith("from mail_resp where mn_id=1"));
}

TEST_F(Mailbox, AMailAliasOnADomainAliasIsFoundByTheFourthQuery) {
    EXPECT_THAT(answer(plain_message(), "info@example.net").mails, SizeIs(1));
    const std::vector<std::string> sent = statements();
    EXPECT_EQ(sent.at(2), domain_alias_query("example.net", "info"));
    EXPECT_EQ(sent.at(3), both_aliases_query("example.net", "info"));
    EXPECT_THAT(sent.at(4), testing::EndsWith("from mail_resp where mn_id=1"));
}

TEST_F(Mailbox, ADomainAliasWithoutMailDoesNotCount) {
    for (const char* name : {"user", "info"}) {
        const std::string address = std::string(name) + "@off.example";
        const Outcome outcome = answer(plain_message(), address);
        EXPECT_EQ(outcome.err, "autoresponder: Mailname not found: " + address + "\n");
        EXPECT_THAT(outcome.mails, IsEmpty());
    }
}

TEST_F(Mailbox, AnUnknownMailboxIsReportedAfterAllFourQueries) {
    const Outcome outcome = answer(plain_message(), "nobody@example.org");
    EXPECT_EQ(outcome.err, "autoresponder: Mailname not found: nobody@example.org\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_THAT(statements(), ElementsAre(direct_query("example.org", "nobody"),
                                          alias_query("example.org", "nobody"),
                                          domain_alias_query("example.org", "nobody"),
                                          both_aliases_query("example.org", "nobody")));
}

TEST_F(Mailbox, QuotesInTheAddressAreEscapedInQueriesAndNotInMessages) {
    const Outcome outcome = answer(plain_message(), "o'neil\\@ex'ample.com");
    EXPECT_EQ(outcome.err, "autoresponder: Mailname not found: o'neil\\@ex'ample.com\n");
    EXPECT_EQ(statements().at(0), direct_query("ex\\'ample.com", "o\\'neil\\\\"));
}

class MailboxWithoutBackslashEscapes : public Mailbox {
  protected:
    void SetUp() override {
        Mailbox::SetUp();
        before_ = sql("select @@global.sql_mode").at(0).at(0).value();
        sql("set global sql_mode='NO_BACKSLASH_ESCAPES'");
    }
    void TearDown() override { sql("set global sql_mode='" + before_ + "'"); }

  private:
    std::string before_;
};

TEST_F(MailboxWithoutBackslashEscapes, QuotesInTheAddressEndNoLiteral) {
    const Outcome outcome = answer(plain_message(), "o'neil\\@ex'ample.com");
    EXPECT_EQ(outcome.err, "autoresponder: Mailname not found: o'neil\\@ex'ample.com\n");
    EXPECT_EQ(statements().at(0), direct_query("ex''ample.com", "o''neil\\"));
}

TEST_F(MailboxWithoutBackslashEscapes, WhatFollowsAQuoteIsNotRun) {
    // As long as the quote is escaped with a backslash, this finds every mailbox there is.
    const Outcome outcome = answer(plain_message(), "x' or 1=1 -- @example.com");
    EXPECT_EQ(outcome.err, "autoresponder: Mailname not found: x' or 1=1 -- @example.com\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
}

TEST_F(MailboxWithoutBackslashEscapes, AMailboxWithAQuoteIsFound) {
    sql("update mail set mail_name=\"o'neil\"");
    const Outcome outcome = answer(plain_message(), "o'neil@example.com");
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.mails, SizeIs(1));
}

TEST_F(Mailbox, OfSeveralMailboxesTheFirstCounts) {
    sql("insert into mail set id=2, mail_name='user', dom_id=1");
    sql("insert into mail_resp set id=2, mn_id=2, resp_on='true', text='The other one'");
    const std::vector<Row> found = sql(direct_query("example.com", "user"));
    ASSERT_THAT(found, SizeIs(2));
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].message,
              plain_reply("Re: Hello", found[0][0] == "1" ? "Gone fishing." : "The other one"));
    EXPECT_THAT(statements().at(1),
                testing::EndsWith("from mail_resp where mn_id=" + found[0][0].value()));
}

TEST_F(Mailbox, TheConnectionIsClosedInAnOrderlyWay) {
    // The server counts those that just went away.
    const auto gone_away = [] { return sql("show global status like 'Aborted_clients'"); };
    const std::vector<Row> before = gone_away();
    answer(plain_message());                        // a normal end
    answer(plain_message(), "nobody@example.com");  // an early one
    sql("delete from mail_resp");
    answer(plain_message());
    ASSERT_TRUE(soon([] {
        return sql("select 1 from information_schema.processlist where user='admin'").empty();
    }));
    EXPECT_EQ(gone_away(), before);
}

TEST_F(Mailbox, AttachmentsComeFromTheMailboxOfAnAlias) {
    write_attachment("a.txt", "A");
    add_attachment(1, "a.txt");
    const Outcome outcome = answer(plain_message(), "info@example.net");
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_THAT(outcome.mails[0].message, testing::HasSubstr("\n\nQQ==\n\n"));
}

TEST_F(Mailbox, EachMailboxQueryThatFailsEndsTheRun) {
    // Three statements set up the session and count before the mailbox queries, and one ignored.
    constexpr int set_up = 4;
    for (int sent = 0; sent < 4; ++sent) {
        SCOPED_TRACE(sent);
        const int allowed = set_up + sent;
        database().reset();
        sql("insert into domains set id=1, name='example.com', cl_id=1");
        database().allow_statements(allowed);
        const Outcome outcome = answer(plain_message(), "nobody@example.org");
        EXPECT_EQ(outcome.err,
                  "autoresponder: Unable to query: User 'admin' has exceeded the "
                  "'max_queries_per_hour' resource (current value: " +
                      std::to_string(allowed) + ")\n");
        EXPECT_THAT(outcome.mails, IsEmpty());
        // The server's log holds the refused one, too.
        EXPECT_THAT(statements(), SizeIs(sent + 1));
    }
}

TEST_F(Mailbox, AMissingTableFailsTheFirstQueryThatNamesIt) {
    const std::pair<const char*, std::size_t> tables[] = {
        {"mail", 1}, {"domains", 1}, {"mail_aliases", 2}, {"domainaliases", 3}};
    for (const auto& [table, queries] : tables) {
        SCOPED_TRACE(table);
        database().reset();
        lose_table(table);
        const Outcome outcome = answer(plain_message(), "nobody@example.org");
        EXPECT_EQ(outcome.err, "autoresponder: Unable to query: Table 'tva." + std::string(table) +
                                   "' doesn't exist\n");
        EXPECT_THAT(outcome.mails, IsEmpty());
        EXPECT_THAT(statements(), SizeIs(queries));
    }
}

TEST_F(Mailbox, AMissingTableOfRespondersEndsTheRun) {
    lose_table("mail_resp");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err,
              "autoresponder: Unable to exec query :Table 'tva.mail_resp' doesn't exist\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_THAT(statements().back(), testing::EndsWith("from mail_resp where mn_id=1"));
}

TEST_F(Mailbox, MailboxesThatCannotBeReadEndTheRun) {
    const struct {
        const char* table;
        const char* recipient;
        std::size_t queries;
    } cases[] = {{"mail", "user@example.com", 1},
                 {"mail_aliases", "info@example.com", 2},
                 {"domainaliases", "user@example.net", 3}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.table);
        SetUp();
        spoil_rows(c.table);
        const Outcome outcome = answer(plain_message(), c.recipient);
        EXPECT_EQ(outcome.err, "autoresponder: Unable to query: " + kRowFailure + "\n");
        EXPECT_THAT(outcome.mails, IsEmpty());
        EXPECT_THAT(statements(), SizeIs(c.queries));
    }
}

// Why there is no connection goes to both streams; on standard error the program's own words
// follow. None of the panel's tables is asked then.
void expect_no_connection(const Outcome& outcome, const std::string& report) {
    EXPECT_EQ(outcome.out, "autoresponder: " + report + "\n");
    EXPECT_EQ(outcome.err,
              outcome.out + "autoresponder: Unable to connect to the mysql database \n");
    EXPECT_THAT(outcome.mails, IsEmpty());
}

TEST_F(Mailbox, WithoutADatabaseServerTheRunEnds) {
    expect_no_connection(
        run({.message = plain_message(), .environment = {{"MYSQL_UNIX_PORT", "/world/no.sock"}}}),
        "Unable to connect to Tolva Database: Can't connect to local server through socket "
        "'/world/no.sock' (2)");
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(Mailbox, WithAWrongPasswordTheRunEnds) {
    write_file("/etc/tva/.tva.shadow", "wrong\n");
    expect_no_connection(answer(plain_message()),
                         "Unable to connect to Tolva Database: Access denied for user "
                         "'admin'@'localhost' (using password: YES)");
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(Mailbox, ACarriageReturnBelongsToThePassword) {
    write_file("/etc/tva/.tva.shadow", right_password() + "\r\n");
    expect_no_connection(answer(plain_message()),
                         "Unable to connect to Tolva Database: Access denied for user "
                         "'admin'@'localhost' (using password: YES)");
}

TEST_F(Mailbox, APasswordFileNeedsNoLineEndAndMayGoOn) {
    write_file("/etc/tva/.tva.shadow", right_password());
    EXPECT_THAT(answer(plain_message()).mails, SizeIs(1));
    write_file("/etc/tva/.tva.shadow", right_password() + "\nmore\n");
    EXPECT_THAT(answer(plain_message()).mails, SizeIs(1));
}

TEST_F(Mailbox, WithoutAPasswordFileTheRunEnds) {
    std::filesystem::remove("/etc/tva/.tva.shadow");
    expect_no_connection(answer(plain_message()),
                         "Unable to open admin password file: No such file or directory\n"
                         "System error 2: No such file or directory");
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(Mailbox, WithAnEmptyPasswordFileTheRunEnds) {
    write_file("/etc/tva/.tva.shadow", "");
    expect_no_connection(answer(plain_message()), "Unable to read admin password file: Success");
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(Mailbox, WithoutTheTableOfSettingsThereIsNoConnection) {
    lose_table("misc");
    expect_no_connection(answer(plain_message()),
                         "DB error (mysql41 compatible query) 1146: Table 'tva.misc' doesn't "
                         "exist");
}

TEST_F(Mailbox, ASessionThatCannotBeSetUpIsNoConnection) {
    const char* const steps[] = {"query version", "mysql41 compatible query", "set names query"};
    for (int allowed = 1; allowed <= 3; ++allowed) {
        SCOPED_TRACE(allowed);
        database().allow_statements(allowed);
        expect_no_connection(answer(plain_message()),
                             "DB error (" + std::string(steps[allowed - 1]) +
                                 ") 1226: User 'admin' has exceeded the 'max_queries_per_hour' "
                                 "resource (current value: " +
                                 std::to_string(allowed) + ")");
    }
}

TEST_F(Mailbox, WithoutMemoryForTheEscapedAddressTheRunEnds) {
    if (kSanitized) {
        GTEST_SKIP() << "the address sanitizer needs more address space than a limit allows";
    }
    // The two escape buffers are the first large pieces of memory that the run asks for, so some
    // limit between "too little to start" and "enough" is met by them.
    const std::string recipient(120'000, 'u');
    bool met = false;
    for (rlim_t limit = 8U << 20U; !met && limit < 80U << 20U; limit += 64U << 10U) {
        const auto program = start(
            {.message = plain_message(), .recipient = recipient, .limits = {{RLIMIT_AS, limit}}});
        met = program->wait().err == "autoresponder: Unable to alloc memory\n";
    }
    EXPECT_TRUE(met);
}

}  // namespace
