#include "control/check.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>

#include "control/check_database.h"
#include "control/checklist.h"
#include "control/failure.h"
#include "control/panel.h"
#include "core/diagnostics.h"
#include "core/only_people.h"
#include "core/size_limit.h"
#include "support/conf.h"
#include "support/conf_variables.h"

namespace {

constexpr const char* kConfiguration = "/etc/tva/tva.conf";
constexpr const char* kPasswordFile = "/etc/tva/.tva.shadow";
constexpr const char* kMailProgram = "/usr/sbin/sendmail";
constexpr const char* kSizeLimitFile = "/var/qmail/control/databytes";
constexpr std::size_t kLongestPassword = 99;

std::string octal(mode_t mode) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "%04o", mode & 07777U);
    return text.data();
}

void check_configuration(Checklist& checklist) {
    if (access(kConfiguration, F_OK) != 0 && errno == ENOENT) {
        checklist.good("configuration",
                       std::string(kConfiguration) + " is not there, compiled defaults apply");
    } else if (autoprepend() != 0) {
        checklist.to_do("configuration", std::string("make ") + kConfiguration +
                                             " readable: " + std::strerror(errno));
    } else {
        checklist.good("configuration", kConfiguration);
    }
}

void check_only_people(Checklist& checklist) {
    checklist.good("answers", answers_only_people()
                                  ? "only people: AUTORESPONDER_ONLY_PEOPLE is true"
                                  : "everybody: AUTORESPONDER_ONLY_PEOPLE is not true");
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
    const std::string name = kPasswordFile;
    struct stat status {};
    if (stat(kPasswordFile, &status) != 0) {
        checklist.to_do("password file", "put the password of the database user admin into " +
                                             name + ": " + std::strerror(errno));
        return;
    }
    const std::string password = first_line_of(kPasswordFile);
    if (access(kPasswordFile, R_OK) != 0) {
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
    } else if (password.size() > kLongestPassword) {
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
    if (stat(kMailProgram, &status) != 0) {
        checklist.to_do("mail program", std::string("install one as ") + kMailProgram + ": " +
                                            std::strerror(errno));
    } else if (!S_ISREG(status.st_mode) || access(kMailProgram, X_OK) != 0) {
        checklist.to_do("mail program", std::string("make ") + kMailProgram + " executable");
    } else {
        checklist.good("mail program", kMailProgram);
    }
}

void check_size_limit(Checklist& checklist) {
    const std::string file = kSizeLimitFile;
    if (access(kSizeLimitFile, F_OK) != 0 && errno == ENOENT) {
        checklist.good("size limit", "none: " + file + " is not there");
    } else if (access(kSizeLimitFile, R_OK) != 0) {
        checklist.to_do("size limit", "make " + file + " readable: " + std::strerror(errno));
    } else if (const auto limit = SizeLimit::of_mail_system().bytes()) {
        checklist.good("size limit", std::to_string(*limit) + " bytes");
    } else if (first_line_of(kSizeLimitFile) == "0") {
        checklist.good("size limit", "none: " + file + " holds 0");
    } else {
        checklist.to_do("size limit", "write a number of bytes into " + file +
                                          ": it holds none, so there is no limit");
    }
}

// What to do about a connection that could not be made for that reason. A server that says it in
// another language than English gets the last of these.
std::string remedy_for(const std::string& reason) {
    const auto says = [&](const char* text) { return reason.find(text) != std::string::npos; };
    if (says("admin password file: ")) {
        return "see to the password file first: " + reason;
    }
    if (says(": Access denied") && says(" to database ")) {
        return "grant admin its rights, for instance those of grants.sql: " + reason;
    }
    if (says(": Access denied")) {
        return std::string("correct the password in the first line of ") + kPasswordFile + ": " +
               reason;
    }
    return "look at the database server: " + reason;
}

}  // namespace

bool check_installation() {
    Checklist checklist(std::cout);
    check_configuration(checklist);
    check_only_people(checklist);
    check_mail_names(checklist);
    check_password_file(checklist);
    check_mail_program(checklist);
    check_size_limit(checklist);
    try {
        const tolva::db::ConnectionHandle connection = connect_or_fail();
        checklist.good("connection", mysql_get_server_info(connection.get()));
        check_database(checklist, connection.get());
    } catch (const Failure& failure) {
        checklist.to_do("connection", remedy_for(failure.what()));
    }
    return checklist.all_good();
}
