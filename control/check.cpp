// SPDX-License-Identifier: Apache-2.0

#include "control/check.h"

#include <mysqld_error.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <iostream>

#include "control/failure.h"
#include "control/panel.h"
#include "control/terminal.h"
#include "core/panel/database_session.h"
#include "core/reply/size_limit.h"
#include "core/run/confined_process.h"
#include "core/run/rights.h"
#include "core/run/settings.h"
#include "core/run/unprivileged_user.h"
#include "core/send/mail_program.h"
#include "support/conf.h"
#include "support/conf_variables.h"
#include "support/db.h"
#include "support/db_password.h"

namespace autoresponder::control {

namespace {

using tolva::db::AdminPassword;

constexpr int kThingWidth = 14;

std::string octal(mode_t mode) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "%04o", mode & 07777U);
    return text.data();
}

void check_configuration(Checklist& checklist) {
    const std::string file = tvaConfPath();
    if (access(file.c_str(), F_OK) != 0 && errno == ENOENT) {
        checklist.good("configuration", file + " is not there, compiled defaults apply");
    } else if (autoprepend() != 0) {
        checklist.to_do("configuration", "make " + file + " readable: " + std::strerror(errno));
    } else {
        checklist.good("configuration", file);
    }
}

void check_settings(Checklist& checklist) {
    const Settings settings = read_settings();
    checklist.good("answers", settings.audience == Audience::kOnlyPeople
                                  ? "only people: AUTORESPONDER_ONLY_PEOPLE is true"
                                  : "everybody: AUTORESPONDER_ONLY_PEOPLE is not true");
    checklist.good("verdicts", settings.verdicts
                                   ? "logged: AUTORESPONDER_VERDICTS is true"
                                   : "not logged: AUTORESPONDER_VERDICTS is not true");
}

// Messages can be read without these features of the kernel, only not as safely.
std::string confinement() {
    std::string lacking;
    for (const std::string& feature : missing_confinement()) {
        lacking.append(lacking.empty() ? ", but the kernel cannot " : " nor ").append(feature);
    }
    return lacking;
}

void check_reader(Checklist& checklist) {
    const std::string user = kUnprivilegedUser;
    if (unprivileged_identity().user == kNobodyUser) {
        checklist.to_do("reader", "add the system user " + user +
                                      ", as the package does: messages are read as nobody" +
                                      confinement());
    } else {
        checklist.good("reader", "messages are read as " + user + confinement());
    }
}

void check_mail_names(Checklist& checklist) {
    const std::string directory = tvaConfGetDefaultByIndex(TOLVA_MAILNAMES_D);
    struct stat status {};
    if (stat(directory.c_str(), &status) != 0) {
        checklist.to_do("mail names", "make the directory " + directory +
                                          ", or set TOLVA_MAILNAMES_D: " + std::strerror(errno));
    } else if (!S_ISDIR(status.st_mode)) {
        checklist.to_do("mail names",
                        "set TOLVA_MAILNAMES_D: " + directory + " is not a directory");
    } else {
        checklist.good("mail names", directory);
    }
}

std::string first_line_of(const char* path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

void check_password_file(Checklist& checklist) {
    const std::string name = AdminPassword::kFile;
    struct stat status {};
    if (stat(AdminPassword::kFile, &status) != 0) {
        checklist.to_do("password file", "put the password of the database user admin into " +
                                             name + ": " + std::strerror(errno));
        return;
    }
    const std::string password = first_line_of(AdminPassword::kFile);
    if (access(AdminPassword::kFile, R_OK) != 0) {
        checklist.to_do("password file",
                        "run this as root, " + name + " cannot be read: " + std::strerror(errno));
    } else if (status.st_uid != 0) {
        checklist.to_do("password file", "chown root " + name + ": it belongs to user " +
                                             std::to_string(status.st_uid));
    } else if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        checklist.to_do("password file",
                        "chmod 0600 " + name + ": its mode is " + octal(status.st_mode));
    } else if (password.empty()) {
        checklist.to_do("password file",
                        "write the password into the first line of " + name + ": it is empty");
    } else if (password.size() > AdminPassword::kMostBytes) {
        checklist.to_do("password file",
                        "choose a shorter password: only 99 characters of " + name + " are read");
    } else if (password.ends_with('\r')) {
        checklist.to_do("password file", "remove the carriage return at the end of the line in " +
                                             name + ": it counts as part of the password");
    } else {
        checklist.good("password file", name);
    }
}

void check_mail_program(Checklist& checklist) {
    struct stat status {};
    if (stat(MailProgram::kPath, &status) != 0) {
        checklist.to_do("mail program", std::string("install one as ") + MailProgram::kPath + ": " +
                                            std::strerror(errno));
    } else if (!S_ISREG(status.st_mode) || access(MailProgram::kPath, X_OK) != 0) {
        checklist.to_do("mail program", std::string("make ") + MailProgram::kPath + " executable");
    } else {
        checklist.good("mail program", MailProgram::kPath);
    }
}

void check_size_limit(Checklist& checklist) {
    const std::string file = SizeLimit::kFile;
    if (access(SizeLimit::kFile, F_OK) != 0 && errno == ENOENT) {
        checklist.good("size limit", "none: " + file + " is not there");
    } else if (access(SizeLimit::kFile, R_OK) != 0) {
        checklist.to_do("size limit", "make " + file + " readable: " + std::strerror(errno));
    } else if (const auto limit = SizeLimit::of_mail_system().bytes()) {
        checklist.good("size limit", std::to_string(*limit) + " bytes");
    } else if (first_line_of(SizeLimit::kFile) == "0") {
        checklist.good("size limit", "none: " + file + " holds 0");
    } else {
        checklist.to_do("size limit", "write a number of bytes into " + file +
                                          ": it holds none, so there is no limit");
    }
}

// What to do about a connection that could not be made for that reason.
std::string remedy_for(const std::string& reason) {
    switch (db_connect_errno()) {
        case 0:
            return "see to the password file first: " + reason;
        case ER_DBACCESS_DENIED_ERROR:
            return "grant admin its rights, for instance those of grants.sql: " + reason;
        case ER_ACCESS_DENIED_ERROR:
            return std::string("correct the password in the first line of ") +
                   AdminPassword::kFile + ": " + reason;
        default:
            return "look at the database server: " + reason;
    }
}

}  // namespace

void Checklist::good(std::string_view thing, const std::string& found) {
    out_ << coloured("good  ", Colour::kGood) << std::left << std::setw(kThingWidth) << thing
         << printable(found) << "\n";
}

void Checklist::to_do(std::string_view thing, const std::string& what) {
    all_good_ = false;
    out_ << coloured("to do ", Colour::kBad) << std::left << std::setw(kThingWidth) << thing
         << printable(what) << "\n";
}

bool check_installation() {
    Checklist checklist(std::cout);
    check_configuration(checklist);
    check_settings(checklist);
    check_reader(checklist);
    check_mail_names(checklist);
    check_password_file(checklist);
    check_mail_program(checklist);
    check_size_limit(checklist);
    try {
        Session session = connect_or_fail();
        checklist.good("connection", mysql_get_server_info(session.connection()));
        check_database(checklist, session);
    } catch (const Failure& failure) {
        checklist.to_do("connection", remedy_for(failure.what()));
    }
    return checklist.all_good();
}

}  // namespace autoresponder::control
