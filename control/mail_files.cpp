// SPDX-License-Identifier: Apache-2.0

#include "control/mail_files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstddef>
#include <memory>
#include <span>
#include <utility>

#include "control/failure.h"
#include "control/words.h"
#include "core/run/diagnostics.h"

namespace autoresponder::control {

MailFiles::MailFiles(std::optional<std::string> directory) : directory_(std::move(directory)) {
    constexpr mode_t owners_alone = 0700;
    if (directory_ && mkdir(directory_->c_str(), owners_alone) != 0 && errno != EEXIST) {
        throw Failure("cannot make the directory " + *directory_ + ": " + error_text(errno));
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
    if (directory_ && failure_.empty()) {
        mail.file = *directory_ + "/" + std::to_string(count_) + "-" + word_of(mail.kind) + ".eml";
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
    constexpr mode_t owners_alone = 0600;
    tolva::Descriptor file(
        open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, owners_alone));
    if (!file) {
        fail_unless(tolva::Errno{errno}, path);
    }
    return file;
}

void MailFiles::fail_unless(tolva::Result<void> result, const std::string& path) {
    if (!result && failure_.empty()) {
        failure_ = "cannot write " + path + ": " + error_text(result.error());
    }
}

}  // namespace autoresponder::control
