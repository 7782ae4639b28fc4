// SPDX-License-Identifier: Apache-2.0

// Messages of a size that nobody sends in earnest: they are answered like others.

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/faults/faults.h"

namespace {

using testing::SizeIs;

constexpr std::size_t kMebibyte = std::size_t{1} << 20U;

// A message that comes through a pipe and is nowhere as a whole.
class Stream {
  public:
    // `times` times `block` after `head`.
    Stream(const std::string& head, const std::string& block, std::size_t times)
        : size_(head.size() + block.size() * times) {
        std::array<int, 2> ends = {};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("pipe2 failed");
        }
        read_end_ = ends[0];
        thread_ = std::thread([=, write_end = ends[1]] {
            bool goes_on = put(write_end, head);
            for (std::size_t i = 0; i < times && goes_on; ++i) {
                goes_on = put(write_end, block);
            }
            close(write_end);
        });
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    Stream(Stream&&) = delete;
    Stream& operator=(Stream&&) = delete;
    ~Stream() {
        close(read_end_);
        thread_.join();
    }

    [[nodiscard]] int read_end() const { return read_end_; }
    [[nodiscard]] std::size_t size() const { return size_; }

  private:
    static bool put(int descriptor, std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t count = write(descriptor, bytes.data(), bytes.size());
            if (count <= 0) {
                return false;
            }
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
        return true;
    }

    std::size_t size_;
    int read_end_ = -1;
    std::thread thread_;
};

std::string repeated(std::size_t count, const std::function<std::string(std::size_t)>& item) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) {
        all += item(i);
    }
    return all;
}

std::string charset_names_of_iconv() {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> list(popen("iconv -l", "re"), pclose);
    std::string text;
    std::array<char, 4096> block{};
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), list.get())) {
        text.append(block.data(), count);
    }
    return text;
}

// All that iconv(1) knows, without the slashes that it adds.
std::vector<std::string> charsets() {
    std::vector<std::string> names;
    std::string name;
    for (const char character : charset_names_of_iconv()) {
        if (character != '/' && character != '\n') {
            name += character;
        } else if (!name.empty()) {
            names.push_back(std::move(name));
            name.clear();
        }
    }
    EXPECT_GT(names.size(), 500U);
    return names;
}

class Hostile : public Faults {
  protected:
    void SetUp() override {
        Faults::SetUp();
        signal(SIGPIPE, SIG_IGN);  // of a Stream
        add_responder(1, "text='Gone fishing.', ans_freq='1000000'");
    }

    static std::size_t many() { return every_fault() ? 1'000'000 : kSanitized ? 20'000 : 100'000; }
    static std::size_t large() { return every_fault() ? 1024 * kMebibyte : 16 * kMebibyte; }

    // Generous: for a machine that has other things to do.
    static constexpr int kMostSecondsOfAny = 600;

    void expect_reply(const std::string& name, const std::string& message) {
        const Outcome outcome = outlive(name, {.message = message}, kMostSecondsOfAny);
        EXPECT_EQ(outcome.err.substr(0, 1000), "") << name;
        ASSERT_THAT(outcome.mails, SizeIs(1)) << name;
        EXPECT_EQ(outcome.mails[0].arguments, reply_arguments()) << name;
        EXPECT_THAT(outcome.mails[0].message, testing::EndsWith("\n\nGone fishing.\n\n\n"));
    }

    // A large message, which is forwarded, too.
    void expect_reply_and_forward(const std::string& name, const Stream& stream) {
        add_forward(1, "copy@example.net");
        mail_program_behaves("count");
        const Outcome outcome = outlive(name, {.input_fd = stream.read_end()}, kMostSecondsOfAny);
        EXPECT_EQ(outcome.err, "");
        ASSERT_THAT(outcome.mails, SizeIs(2));
        // The copy has a line end more.
        EXPECT_EQ(outcome.mails[0].size, stream.size() + 1);
        EXPECT_EQ(outcome.mails[1].size, plain_reply().size());
    }
};

TEST_F(Hostile, AVeryLargeMessage) {
    const std::string line = std::string(75, 'x') + "\n";
    expect_reply_and_forward("large message", {"From: sender@example.org\nSubject: Hello\n\n", line,
                                               large() / line.size()});
}

TEST_F(Hostile, AVeryLongLine) {
    expect_reply_and_forward("large line", {"From: sender@example.org\nSubject: Hello\n\n",
                                            std::string(kMebibyte, 'x'), large() / kMebibyte});
}

TEST_F(Hostile, AVeryLongHeaderField) {
    expect_reply_and_forward("large field",
                             {"From: sender@example.org\nSubject: Hello\nX-Large: ",
                              std::string(kMebibyte, 'x'), every_fault() ? 256U : 8U});
}

TEST_F(Hostile, ManyParts) {
    expect_reply("parts", message_with({"Content-Type: multipart/mixed; boundary=b"},
                                       repeated(many(), [](std::size_t /*part*/) {
                                           return "--b\nContent-Type: text/plain\n\nx\n";
                                       }) + "--b--\n"));
}

TEST_F(Hostile, ManyPartsWithinEachOther) {
    std::string message = "From: sender@example.org\n";
    for (std::size_t i = 0; i < many(); ++i) {
        const std::string boundary = "b" + std::to_string(i);
        message.append("Content-Type: multipart/mixed; boundary=").append(boundary);
        message.append("\n\n--").append(boundary).append("\n");
    }
    expect_reply("parts within each other", message);
}

TEST_F(Hostile, ManyParameters) {
    const std::string parameters =
        repeated(many(), [](std::size_t i) { return "; p" + std::to_string(i) + "=\"v\"\n"; });
    expect_reply("parameters",
                 message_with({"Content-Type: text/plain" + parameters + " ; charset=us-ascii"}));
}

TEST_F(Hostile, ManyAddresses) {
    const std::string addresses = repeated(
        many(), [](std::size_t i) { return ",\n a" + std::to_string(i) + "@example.org"; });
    expect_reply("addresses", "From: sender@example.org" + addresses + "\nTo: user@example.com" +
                                  addresses + "\n\nHello\n");
}

TEST_F(Hostile, ManyHeaderFields) {
    expect_reply("fields", "From: sender@example.org\n" + repeated(many(), [](std::size_t i) {
                               return "X-" + std::to_string(i) + ": x\n";
                           }) + "\nHello\n");
}

TEST_F(Hostile, EncodedWordsInManyCharsets) {
    const std::vector<std::string> names = charsets();
    const std::string words = repeated(many() / 10, [&](std::size_t i) {
        return "\n =?" + names[i % 120 * names.size() / 120] + "?Q?abc=20=41?=";
    });
    const Outcome outcome = outlive(
        "encoded words", {.message = message_with({"Subject:" + words})}, kMostSecondsOfAny);
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].arguments, reply_arguments());
}

// In the subject, in the text, and in the reply.
TEST_F(Hostile, EveryCharsetThatIconvKnows) {
    const std::vector<std::string> names = charsets();
    sql("update mail_resp set key_where='body', keystr='', text='Спасибо.'");
    for (const unsigned long number : numbers(names.size(), 60)) {
        const std::string& name = names[number - 1];
        sql("update mail_resp set charset=" + database().quoted(name));
        const std::string message =
            message_with({"Subject: =?" + name + "?B?gYKDhIWG4eLj5OXm?=",
                          "Content-Type: text/plain; charset=\"" + name + "\""},
                         "\x81\x82\x83\x84\xe1\xe2\xe3\xe4 abc\n");
        const Outcome outcome = outlive("charset " + name, {.message = message});
        ASSERT_THAT(outcome.mails, SizeIs(1)) << name << ": " << outcome.err;
        EXPECT_EQ(outcome.mails[0].arguments, reply_arguments());
    }
}

}  // namespace
