// SPDX-License-Identifier: Apache-2.0

// What a real mail system does with the mail: the mail server dma takes it through its own
// /usr/sbin/sendmail and delivers it to mailboxes of this machine, where it is read back.

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/descriptor.h"
#include "tests/system/mail_reader.h"
#include "tests/system/world.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kMailServer = DMA_PACKAGE "/usr/sbin/dma";
constexpr gid_t kMailGroup = 8;  // the same on every Debian system
constexpr uid_t kFirstUser = 40000;

// Puts a directory or file of the private world aside, and back at its end.
class SetAside {
  public:
    explicit SetAside(fs::path path) : path_(std::move(path)), kept_(path_.string() + ".kept") {
        if (fs::is_symlink(path_) || fs::exists(path_)) {
            fs::rename(path_, kept_);
        }
    }
    SetAside(const SetAside&) = delete;
    SetAside& operator=(const SetAside&) = delete;
    SetAside(SetAside&&) = delete;
    SetAside& operator=(SetAside&&) = delete;
    ~SetAside() {
        fs::remove_all(path_);
        if (fs::is_symlink(kept_) || fs::exists(kept_)) {
            fs::rename(kept_, path_);
        }
    }

  private:
    fs::path path_;
    fs::path kept_;
};

std::string content(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void give_to(const fs::path& path, uid_t user, mode_t mode) {
    ASSERT_EQ(chown(path.c_str(), user, kMailGroup), 0);
    ASSERT_EQ(chmod(path.c_str(), mode), 0);  // after the owner, which clears the set-group-ID bit
}

class MailSystem : public World {
  protected:
    void SetUp() override {
        if (!fs::exists(kMailServer)) {
            GTEST_SKIP() << "tools/unpack-package dma has not been run";
        }
        if (!nobody_exists()) {
            GTEST_SKIP() << "the mail server needs a second user id";
        }
        World::SetUp();
        fs::remove("/usr/sbin/sendmail");
        fs::copy_file(kMailServer, "/usr/sbin/sendmail");
        give_to("/usr/sbin/sendmail", 0, 02755);
        fs::create_directories("/var/spool/dma");
        give_to("/var/spool/dma", 0, 02770);
        fs::create_directories("/var/mail");
        write_file("/etc/dma/dma.conf", "MAILNAME example.org\n");
        write_file("/etc/aliases", "");
        std::string users = content("/etc/passwd.kept");
        uid_t user = kFirstUser;
        for (const char* name : {"sender", "owner", "copy"}) {
            const std::string mailbox = mailbox_of(name);
            users += std::string(name) + ":x:" + std::to_string(++user) + ":8::/:/bin/false\n";
            write_file(mailbox, "");
            give_to(mailbox, user, 0660);
        }
        write_file("/etc/passwd", users);
    }

    static std::string mailbox_of(const std::string& user) { return "/var/mail/" + user; }

    // The one mail in the mailbox, from its line "From " on; delivery may take a moment.
    static std::string delivered_to(const std::string& user) {
        const tolva::Descriptor mailbox(open(mailbox_of(user).c_str(), O_RDONLY | O_CLOEXEC));
        // The mail server locks the mailbox while it writes there.
        EXPECT_TRUE(soon([&] {
            const bool written =
                fs::file_size(mailbox_of(user)) > 0 && flock(mailbox.get(), LOCK_SH | LOCK_NB) == 0;
            flock(mailbox.get(), LOCK_UN);
            return written;
        })) << "nothing has come for "
            << user;
        return content(mailbox_of(user));
    }

    static std::string without_first_line(const std::string& mail) {
        return mail.substr(mail.find('\n') + 1);
    }

  private:
    const SetAside spool_{"/var/spool"};
    const SetAside mailboxes_{"/var/mail"};
    const SetAside configuration_{"/etc/dma"};
    const SetAside aliases_{"/etc/aliases"};
    const SetAside users_{"/etc/passwd"};
};

TEST_F(MailSystem, DeliversReplyNoticeAndForward) {
    sql("update clients set email='owner@example.org'");
    add_responder(1, "text='Grüße, gone fishing.', subject='Ответ: <request_subject>'");
    add_forward(1, "copy@example.org");
    add_attachment(1, "here.bin");
    add_attachment(1, "gone.txt");
    const std::string bytes = std::string("\0\xff\r\n.\n", 6) + std::string(5000, 'x');
    write_attachment("here.bin", bytes);
    const std::string body = "..\nFrom the beginning of a line\n";
    EXPECT_EQ(answer(message_with({"To: user@example.com", "Subject: Hello"}, body)).err, "");

    const std::string reply = delivered_to("sender");
    EXPECT_THAT(reply, StartsWith("From user@example.com "));
    const ReadMail answer = read_mail(without_first_line(reply));
    EXPECT_EQ(answer.from, "user@example.com");
    EXPECT_EQ(answer.to, "sender@example.org");
    EXPECT_EQ(answer.subject, "Ответ: Hello");
    EXPECT_THAT(answer.text, StartsWith("Grüße, gone fishing.\n"));
    ASSERT_EQ(answer.attachments.size(), 1U);
    EXPECT_EQ(answer.attachments[0].name, "here.bin");
    EXPECT_EQ(answer.attachments[0].bytes, bytes);

    const std::string notice = delivered_to("owner");
    EXPECT_THAT(notice, StartsWith("From root@localhost "));
    const ReadMail told = read_mail(without_first_line(notice));
    EXPECT_EQ(told.from, "root@localhost");
    EXPECT_EQ(told.to, "owner@example.org");
    EXPECT_THAT(told.text, HasSubstr("gone.txt"));

    const std::string copy = delivered_to("copy");
    EXPECT_THAT(copy, StartsWith("From user@example.com "));
    const ReadMail forwarded = read_mail(without_first_line(copy));
    EXPECT_EQ(forwarded.from, "sender@example.org");
    EXPECT_EQ(forwarded.to, "user@example.com");
    EXPECT_EQ(forwarded.subject, "Hello");
    // A mailbox marks lines that could be taken for the beginning of the next mail.
    EXPECT_THAT(forwarded.text, StartsWith("..\n>From the beginning of a line\n"));
}

}  // namespace
