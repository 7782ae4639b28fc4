#include "core/response.h"

#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/attachment_repository.h"
#include "core/responder_row.h"
#include "tests/unit/core/first_message.h"
#include "tests/unit/core/temporary_directory.h"

namespace {

ResponderRow responder() {
    ResponderRow row;
    row.text = "Thank you.";
    row.charset = "UTF-8";
    row.content_type = "text/plain";
    return row;
}

std::string written(const ResponderRow& row, const std::vector<std::string>& attachments = {},
                    const std::string& directory = "") {
    const AttachmentRepository repository(directory, ".");
    const std::string boundary = "BOUNDARY";
    std::ostringstream out;
    write_response(out, first_message(), row, {repository, attachments, boundary});
    return out.str();
}

TEST(Response, SinglePartIsWrittenHeaderByHeader) {
    EXPECT_EQ(written(responder()),
              "From: info@client.example\n"
              "To: ann@correspondent.example\n"
              "MIME-Version: 1.0\n"
              "Subject: Re: A question\n"
              "Content-Type: text/plain; charset=\"UTF-8\"\n"
              "Content-Transfer-Encoding: 8bit\n"
              "Content-Disposition: inline\n"
              "\n"
              "Thank you.\n\n\n");
}

TEST(Response, ReplyToComesFirstWhenThereIsOne) {
    ResponderRow row = responder();
    row.reply_to = "desk@client.example";
    EXPECT_THAT(written(row), testing::StartsWith("Reply-To: desk@client.example\n"
                                                  "From: info@client.example\n"));
}

TEST(Response, TextStandsInTheCharsetThatItsHeaderNames) {
    ResponderRow row = responder();
    row.text =
        "Gr\xC3\xBC\xC3\x9F"
        "e";
    row.charset = "ISO-8859-1";
    EXPECT_THAT(written(row), testing::HasSubstr("charset=\"ISO-8859-1\"\n"));
    EXPECT_THAT(written(row), testing::EndsWith("\n\nGr\xFC\xDF"
                                                "e\n\n\n"));
    row.charset = "no-such-charset";
    EXPECT_THAT(written(row), testing::HasSubstr("charset=\"UTF-8\"\n"));
    EXPECT_THAT(written(row), testing::EndsWith("\n\nGr\xC3\xBC\xC3\x9F"
                                                "e\n\n\n"));
}

TEST(Response, PlaceholdersInTheTextStay) {
    ResponderRow row = responder();
    row.text = "<request_subject>";
    EXPECT_THAT(written(row), testing::EndsWith("\n\n<request_subject>\n\n\n"));
}

TEST(Response, AttachmentsAreWrittenAsPartsAfterTheText) {
    TemporaryDirectory directory;
    directory.put("a.txt", "ABC");
    directory.put("empty", "");
    EXPECT_EQ(written(responder(), {"a.txt", "empty"}, directory.path()),
              "From: info@client.example\n"
              "To: ann@correspondent.example\n"
              "MIME-Version: 1.0\n"
              "Subject: Re: A question\n"
              "Content-Type: multipart/mixed;\n"
              "\tboundary=\"BOUNDARY\"\n"
              "\n"
              "--BOUNDARY\n"
              "Content-Type: text/plain; charset=\"UTF-8\"\n"
              "Content-Transfer-Encoding: 8bit\n"
              "Content-Disposition: inline\n"
              "\n"
              "Thank you.\n\n\n"
              "--BOUNDARY\n"
              "Content-Type: application/octet-stream\n"
              "Content-Transfer-Encoding: base64\n"
              "Content-Disposition: attachment;\n"
              "\tfilename=\"a.txt\"\n"
              "\n"
              "QUJD\n"
              "\n"
              "--BOUNDARY\n"
              "Content-Type: application/octet-stream\n"
              "Content-Transfer-Encoding: base64\n"
              "Content-Disposition: attachment;\n"
              "\tfilename=\"empty\"\n"
              "\n"
              "\n"
              "--BOUNDARY--\n");
}

}  // namespace
