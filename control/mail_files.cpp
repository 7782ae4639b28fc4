// SPDX-License-Identifier: Apache-2.0

#include "control/mail_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <memory>
#include <span>
#include <utility>

#include "control/failure.h"
#include "control/words.h"
#include "core/run/diagnostics.h"

namespace autoresponder::control {

namespace {

constexpr mode_t kOwnersAlone = 0700;

// With a slash at its end, a link would be followed.
std::string without_slashes_at_end(std::string path) {
    path.resize(std::max<std::size_t>(path.find_last_not_of('/') + 1, path.starts_with('/')));
    return path;
}

// Why that user should not write there; null if there is no reason.
std::optional<std::string> objection_to(const struct stat& directory, uid_t user) {
    if (directory.st_uid != user) {
        return "it belongs to user " + std::to_string(directory.st_uid);
    }
    // The rights that an access control list gives to others are at most those of the group.
    if ((directory.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return "its group or others may write to it";
    }
    return std::nullopt;
}

tolva::Descriptor open_directory(const std::string& path) {
    if (mkdir(path.c_str(), kOwnersAlone) != 0 && errno != EEXIST) {
        throw Failure("cannot make the directory " + path + ": " + error_text(errno));
    }
    const std::string cannot_write = "cannot write to " + path + ": ";
    tolva::Descriptor directory(open(path.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!directory || fstat(directory.get(), &status) != 0) {
        throw Failure(cannot_write + error_text(errno));
    }
    if (const auto objection = objection_to(status, geteuid())) {
        throw Failure(cannot_write + *objection);
    }
    return directory;
}

}  // namespace

MailFiles::MailFiles(std::optional<std::string> directory) : path_(std::move(directory)) {
    if (path_) {
        path_ = without_slashes_at_end(*path_);
        directory_ = open_directory(*path_);
    }
}

void MailFiles::add(ExplainedMail& mail, std::string_view text) {
    begin(mail);
    mail.size = text.size();
    if (!mail.file.empty()) {
        write(mail.file, text);
        write_envelope(mail);
    }
}

void MailFiles::add(ExplainedMail& mail, const tolva::Descriptor& text) {
    begin(mail);
    const tolva::Descriptor file = mail.file.empty() ? tolva::Descriptor() : create(mail.file);
    constexpr std::size_t size = 65536;
    const auto buffer = std::make_unique_for_overwrite<char[]>(size);
    std::size_t length = size;
    while (length == size && failure_.empty()) {
        fail_unless(tolva::read_block(text.get(), std::span(buffer.get(), size), length),
                    "the mail");
        mail.size += length;
        if (file) {
            fail_unless(tolva::write_whole(file.get(), {buffer.get(), length}), mail.file);
        }
    }
    if (file) {
        write_envelope(mail);
    }
}

void MailFiles::throw_if_failed() const {
    if (!failure_.empty()) {
        throw Failure(failure_);
    }
}

void MailFiles::begin(ExplainedMail& mail) {
    ++count_;
    if (directory_) {
        mail.file = *path_ + "/" + std::to_string(count_) + "-" + word_of(mail.kind) + ".eml";
    }
}

void MailFiles::write_envelope(const ExplainedMail& mail) {
    std::string envelope = mail.sender + "\n";
    for (const std::string& recipient : mail.recipients) {
        envelope += recipient + "\n";
    }
    constexpr std::string_view ending = ".eml";
    write(mail.file.substr(0, mail.file.size() - ending.size()) + ".envelope", envelope);
}

void MailFiles::write(const std::string& path, std::string_view bytes) {
    if (const tolva::Descriptor file = create(path)) {
        fail_unless(tolva::write_whole(file.get(), bytes), path);
    }
}

tolva::Descriptor MailFiles::create(const std::string& path) {
    if (!failure_.empty()) {
        return {};
    }
    constexpr mode_t owners_alone = 0600;
    const std::string name = path.substr(path_->size() + 1);
    // O_EXCL: what has the name already, a link included, is left alone.
    tolva::Descriptor file(openat(directory_.get(), name.c_str(),
                                  O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, owners_alone));
    if (file) {
        written_.push_back(name);
    } else {
        fail_unless(tolva::Errno{errno}, path);
    }
    return file;
}

void MailFiles::fail_unless(tolva::Result<void> result, const std::string& path) {
    if (result || !failure_.empty()) {
        return;
    }
    failure_ = "cannot write " + path + ": " + error_text(result.error());
    for (const std::string& name : written_) {
        unlinkat(directory_.get(), name.c_str(), 0);
    }
}

}  // namespace autoresponder::control
