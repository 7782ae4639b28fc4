// SPDX-License-Identifier: Apache-2.0

#include "support/conf.h"

#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "support/conf_variables.h"
#include "support/log.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/failing_allocation.h"
#include "tests/unit/support/private_directory.h"
#include "tests/unit/support/process_state.h"

namespace {

constexpr const char* kFile = "/etc/tva/tva.conf";

struct Variable {
    int index;
    const char* name;
    const char* default_value;
};

constexpr Variable kVariables[] = {
    {_MIN_POSSIBLE_TVA_CONF_VAR_NAME, "_MIN_POSSIBLE_TVA_CONF_VAR_NAME",
     "_MIN_POSSIBLE_TVA_CONF_VAR_VALUE"},
    {TOLVA_MAILNAMES_D, "TOLVA_MAILNAMES_D", "/var/qmail/mailnames"},
    {COURIER_IMAP_ROOT_D, "COURIER_IMAP_ROOT_D", "/"},
    {RBLSMTPD, "RBLSMTPD", "/usr/sbin/rblsmtpd"},
    {CGI_PHP_BIN, "CGI_PHP_BIN", "dynamic"},
    {CLIENT_PHP_BIN, "CLIENT_PHP_BIN", "/opt/tva/bin/php-cli"},
    {LIB_CRYPTO_PATH, "LIB_CRYPTO_PATH", "/lib/libcrypto.so"},
    {LIB_SSL_PATH, "LIB_SSL_PATH", "/lib/libssl.so"},
    {AWSTATS_DOC_D, "AWSTATS_DOC_D", "/usr/share/awstats"},
    {AWSTATS_TOOLS_D, "AWSTATS_TOOLS_D", "/usr/share/doc/awstats/examples"},
    {AWSTATS_BIN_D, "AWSTATS_BIN_D", "/usr/lib/cgi-bin"},
    {AWSTATS_ETC_D, "AWSTATS_ETC_D", "/etc/awstats"},
    {CATALINA_HOME, "CATALINA_HOME", "/usr/share/tomcat5.5"},
    {MAILMAN_VAR_D, "MAILMAN_VAR_D", "/var/lib/mailman"},
    {MAILMAN_ROOT_D, "MAILMAN_ROOT_D", "/usr/lib/mailman"},
    {PGSQL_DATA_D, "PGSQL_DATA_D", "/var/lib/postgres/data"},
    {PGSQL_BIN_D, "PGSQL_BIN_D", "/usr/lib/postgresql/8.3/bin"},
    {MYSQL_BIN_D, "MYSQL_BIN_D", "/usr/bin"},
    {MYSQL_VAR_D, "MYSQL_VAR_D", "/var/lib/mysql"},
    {LOGROTATE, "LOGROTATE", "/opt/tva/logrotate/sbin/logrotate"},
    {WEB_STAT, "WEB_STAT", "/usr/bin/webalizer"},
    {DUMP_D, "DUMP_D", "/var/lib/tva/dumps"},
    {DUMP_TMP_D, "DUMP_TMP_D", "/tmp"},
    {NAMED_RUN_ROOT_D, "NAMED_RUN_ROOT_D", "/var/named/run-root"},
    {FTPD_CONF_INC, "FTPD_CONF_INC", "/etc/proftpd.include"},
    {HTTPD_SERVICE, "HTTPD_SERVICE", "apache2"},
    {HTTPD_LOG_D, "HTTPD_LOG_D", "/var/log/apache2"},
    {HTTPD_INCLUDE_D, "HTTPD_INCLUDE_D", "/etc/apache2/conf.d"},
    {HTTPD_CONF_D, "HTTPD_CONF_D", "/etc/apache2"},
    {HTTPD_VHOSTS_D, "HTTPD_VHOSTS_D", "/var/www/vhosts"},
    {PRODUCT_ROOT_D, "PRODUCT_ROOT_D", "/opt/tva"},
    {_MAX_POSSIBLE_TVA_CONF_VAR_NAME, "_MAX_POSSIBLE_TVA_CONF_VAR_NAME",
     "_MAX_POSSIBLE_TVA_CONF_VAR_VALUE"},
};

void write_file(const std::string& text) {
    std::ofstream(kFile, std::ios::binary) << text;
}

void print(const char* value) {
    std::printf("%s\n", value != nullptr ? value : "(null)");
}

// What body prints in a process that has an /etc/tva of its own, empty.
std::string printed(const std::function<void()>& body) {
    const ChildRun run = run_in_child([&] {
        if (!make_private("/etc") || mkdir("/etc/tva", 0755) != 0) {
            std::exit(1);
        }
        body();
    });
    EXPECT_EQ(run.status, 0);
    return run.out;
}

// The mailbox root in a process that finds that text in the configuration file.
std::string mailnames_d(const std::string& text) {
    return printed([&] {
        write_file(text);
        print(tvaConfGetDefaultByIndex(TOLVA_MAILNAMES_D));
    });
}

class ConfInPrivateEtc : public testing::Test {
  protected:
    void SetUp() override {
        if (!can_make_private("/etc")) {
            GTEST_SKIP() << "needs root or user namespaces";
        }
    }
};

TEST_F(ConfInPrivateEtc, MissingFileLeavesEveryIndexWithItsDefault) {
    ASSERT_EQ(std::size(kVariables), 32U);
    std::string expected;
    for (int i = 0; i < 32; ++i) {
        EXPECT_EQ(kVariables[i].index, i);
        expected += std::string(kVariables[i].default_value) + "\n";
    }
    EXPECT_EQ(printed([] {
                  for (int i = 0; i < 32; ++i) {
                      print(tvaConfGetDefaultByIndex(i));
                  }
              }),
              expected);
}

TEST_F(ConfInPrivateEtc, MissingFileHasNoValuesOfItsOwn) {
    EXPECT_EQ(printed([] {
                  std::printf("%d\n", autoprepend());
                  print(tvaConfGet("TOLVA_MAILNAMES_D"));
                  print(tvaConfGetByIndex(TOLVA_MAILNAMES_D));
                  print(tvaConfGetDefault("TOLVA_MAILNAMES_D"));
              }),
              "-1\n(null)\n(null)\n/var/qmail/mailnames\n");
}

TEST_F(ConfInPrivateEtc, EveryIndexStandsForItsName) {
    std::string text;
    std::string expected;
    for (const Variable& variable : kVariables) {
        text += std::string(variable.name) + " value of " + variable.name + "\n";
        expected += std::string("value of ") + variable.name + "\n";
    }
    const auto print_all = [&](const char* (*by_index)(int)) {
        return printed([&] {
            write_file(text);
            for (int i = 0; i < 32; ++i) {
                print(by_index(i));
            }
        });
    };
    EXPECT_EQ(print_all(tvaConfGetByIndex), expected);
    EXPECT_EQ(print_all(tvaConfGetDefaultByIndex), expected);
}

TEST_F(ConfInPrivateEtc, ValueOfTheFileIsWithoutItsComment) {
    EXPECT_EQ(mailnames_d("TOLVA_MAILNAMES_D /srv/mail # comment"), "/srv/mail\n");
}

TEST_F(ConfInPrivateEtc, TabSeparatesAndTrailingBlanksAreCutOff) {
    EXPECT_EQ(mailnames_d("TOLVA_MAILNAMES_D\t/srv/mail  "), "/srv/mail\n");
}

TEST_F(ConfInPrivateEtc, DefinitionThatIsRejectedLeavesTheDefault) {
    EXPECT_EQ(mailnames_d("TOLVA_MAILNAMES_D=/srv/mail\n"), "/var/qmail/mailnames\n");
    EXPECT_EQ(mailnames_d("TOLVA_MAILNAMES_D\n"), "/var/qmail/mailnames\n");
    EXPECT_EQ(mailnames_d("TOLVA_MAILNAMES_D # /srv/mail\n"), "/var/qmail/mailnames\n");
}

TEST_F(ConfInPrivateEtc, LastDefinitionCounts) {
    EXPECT_EQ(mailnames_d("TOLVA_MAILNAMES_D /a\nDUMP_D /b\nTOLVA_MAILNAMES_D /c\n"), "/c\n");
}

TEST_F(ConfInPrivateEtc, NamesWithoutADefaultAreFoundInTheFileOnly) {
    EXPECT_EQ(printed([] {
                  write_file("OTHER value\n");
                  print(tvaConfGet("OTHER"));
                  print(tvaConfGet("ANOTHER"));
                  print(tvaConfGet("TOLVA_MAILNAMES_D"));
                  PROGNAME = "test";
                  print(tvaConfGetDefault("OTHER"));
              }),
              "value\n(null)\n(null)\n"
              "test: variable 'OTHER' isn't found neither in /etc/tva/tva.conf nor in "
              "compile-time defaults\n(null)\n");
}

TEST_F(ConfInPrivateEtc, LookupByNamePrefersTheFile) {
    EXPECT_EQ(printed([] {
                  write_file("DUMP_D /dumps\n_MIN_POSSIBLE_TVA_CONF_VAR_NAME x\n");
                  print(tvaConfGetDefault("DUMP_D"));
                  print(tvaConfGetDefault("DUMP_TMP_D"));
                  print(tvaConfGetDefault("_MIN_POSSIBLE_TVA_CONF_VAR_NAME"));
              }),
              "/dumps\n/tmp\nx\n");
}

TEST_F(ConfInPrivateEtc, FileIsLoadedOnce) {
    EXPECT_EQ(printed([] {
                  write_file("DUMP_D /a\nHTTPD_LOG_D /b\n");
                  std::printf("%d\n", autoprepend());
                  print(tvaConfGetByIndex(DUMP_D));
                  write_file("DUMP_D /c\n");
                  print(tvaConfGetByIndex(DUMP_D));
                  unlink(kFile);
                  std::printf("%d\n", autoprepend());
                  print(tvaConfGetByIndex(HTTPD_LOG_D));
                  std::printf("%d\n", tvaConfGet("DUMP_D") == tvaConfGetByIndex(DUMP_D));
              }),
              "0\n/a\n/a\n0\n/b\n1\n");
}

TEST_F(ConfInPrivateEtc, FailureIsNotRemembered) {
    EXPECT_EQ(printed([] {
                  print(tvaConfGetByIndex(DUMP_D));
                  print(tvaConfGetDefaultByIndex(DUMP_D));
                  write_file("DUMP_D /dumps\n");
                  print(tvaConfGetByIndex(DUMP_D));
                  print(tvaConfGetDefaultByIndex(DUMP_D));
              }),
              "(null)\n/var/lib/tva/dumps\n/dumps\n/dumps\n");
}

TEST_F(ConfInPrivateEtc, EveryLookupWithoutAFileReportsItAgain) {
    const std::string report =
        "unable to open configuration file /etc/tva/tva.conf: No such file or directory\n\n";
    EXPECT_EQ(printed([] {
                  tolva_log_init("console", 12, LOG_USER, 0, "test");
                  autoprepend();
                  tvaConfGetDefaultByIndex(DUMP_D);
              }),
              report + report);
}

TEST_F(ConfInPrivateEtc, FileThatCannotBeReadIsAFailure) {
    EXPECT_EQ(printed([] {
                  mkdir(kFile, 0755);
                  tolva_log_init("console", 12, LOG_USER, 0, "test");
                  const int result = autoprepend();
                  std::printf("%d %d\n", result, errno == EISDIR);
              }),
              "Unable to read configuration file: Is a directory\n-1 1\n");
}

TEST(Autoprepend, ReportsThatThereIsNoMemoryForTheTable) {
    const ChildRun run = run_in_child([] {
        const FailingAllocation failing(1);
        note(testing_support::outcome(autoprepend()));
    });
    EXPECT_EQ(run.noted, "-1 ENOMEM\n");
    EXPECT_EQ(run.err,
              "Not enough memory to allocate Tolva runtime configuration structure\n"
              "\nSystem error 12: Cannot allocate memory\n");
    EXPECT_EQ(run.out, run.err);
}

TEST(TvaConfGetDefault, ReportsANameWithoutADefault) {
    for (const std::string name : {"NO_SUCH_NAME", "", "_MAX_POSSIBLE_TVA_CONF_VAR_NAME"}) {
        const ChildRun run = run_in_child([&] {
            const char* value = tvaConfGetDefault(name.c_str());
            note(value != nullptr ? value : "(null)");
        });
        EXPECT_EQ(run.noted, "(null)\n");
        EXPECT_EQ(run.err, "variable '" + name +
                               "' isn't found neither in /etc/tva/tva.conf nor in compile-time "
                               "defaults\n");
        EXPECT_EQ(run.out, run.err);
    }
}

}  // namespace
