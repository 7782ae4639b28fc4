// SPDX-License-Identifier: Apache-2.0

#include "bench/mimelib/messages.h"

namespace {

const std::string kFields =
    "Return-Path: <ann@example.org>\n"
    "Received: from mail.example.org (mail.example.org [192.0.2.1])\n"
    "\tby mx.example.net with SMTP; Mon, 1 Jan 2024 10:00:00 +0000\n"
    "Message-ID: <20240101100000.12345@mail.example.org>\n"
    "Date: Mon, 1 Jan 2024 10:00:00 +0000\n"
    "From: \"Ann Lee\" <ann@example.org>\n"
    "Reply-To: Ann Lee (at home) <ann.lee@home.example.org>\n"
    "To: Bob <bob@example.net>\n"
    "Subject: =?utf-8?q?Caf=C3=A9?= on Monday, as every week\n"
    "MIME-Version: 1.0\n";

std::string repeated(const std::string& text, std::size_t times) {
    std::string all;
    all.reserve(text.size() * times);
    for (std::size_t i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

std::string filled(const std::string& line, std::size_t size) {
    return repeated(line, size / line.size());
}

const std::string kFrom = "From: a@b.org\n";
const std::string kMultipart = kFrom + "Content-Type: multipart/mixed; boundary=";

std::string long_header_line(std::size_t size) {
    return kFrom + "X: " + std::string(size, 'x') + "\n\nbody\n";
}

std::string many_fields(std::size_t count) {
    return repeated("X-Field: value\n", count) + kFrom + "\nbody\n";
}

std::string many_addresses(std::size_t count) {
    return "From: " + repeated("<>, ", count) + "a@b.org\n\nbody\n";
}

std::string many_groups(std::size_t count) {
    return "Reply-To: " + repeated("g:x@y;, ", count) + "a@b.org\n\nbody\n";
}

std::string many_words(std::size_t count) {
    return "From: " + repeated("a ", count) + "@b.org\n\nbody\n";
}

std::string many_parameters(std::size_t count) {
    return kFrom + "Content-Type: text/plain" + repeated("; a=b", count) + "\n\nbody\n";
}

std::string many_parts(std::size_t count) {
    return kMultipart + "b\n\n" + repeated("--b\nX: y\n\npart\n", count) + "--b--\n";
}

std::string shortest_parts(std::size_t count) {
    return kMultipart + "b\n\n" + repeated("--b\n", count) + "--b--\n";
}

std::string shortest_parameters(std::size_t count) {
    return kFrom + "Content-Type: text/plain" + repeated(";a=b", count) + "\n\nbody\n";
}

std::string long_boundary(std::size_t length) {
    const std::string boundary(length, 'b');
    std::string text = kMultipart + boundary + "\n\n";
    for (std::size_t i = 0; i < 8; ++i) {
        text += "--" + boundary + "x\n--" + boundary.substr(1) + "\n";
    }
    return text + "--" + boundary + "\n\npart\n--" + boundary + "--\n";
}

std::string near_boundaries(std::size_t size) {
    return kMultipart + "b1\n\n" + filled("--b1x\n", size);
}

std::string dashes(std::size_t size) {
    return kMultipart + "\"\"\n\n" + filled("-", size / 2) + filled("--\n", size / 2);
}

std::string line_feeds(std::size_t size) {
    return kMultipart + "b\n\n" + std::string(size, '\n');
}

std::string equals_signs(std::size_t size) {
    return kFrom + "Content-Transfer-Encoding: quoted-printable\n\n" + std::string(size, '=');
}

std::string base64_padding(std::size_t size) {
    return kFrom + "Content-Transfer-Encoding: base64\n\n" + std::string(size, '!');
}

std::string nested_comments(std::size_t depth) {
    return "From: " + std::string(depth, '(') + std::string(depth, ')') + "a@b.org\n\nbody\n";
}

std::string nested_multiparts(std::size_t depth) {
    std::string text = kFrom;
    for (std::size_t i = 0; i < depth; ++i) {
        const std::string boundary = "b" + std::to_string(100000 + i);
        text.append("Content-Type: multipart/mixed; boundary=").append(boundary);
        text.append("\n\n--").append(boundary).append("\n");
    }
    return text + "Content-Type: text/plain\n\nbody\n";
}

}  // namespace

std::string plain_message(std::size_t size) {
    const std::string head = kFields + "Content-Type: text/plain; charset=utf-8\n\n";
    const std::string line = "The quick brown fox jumps over the lazy dog, as he does daily.\n";
    return head + (size > head.size() ? filled(line, size - head.size()) : "");
}

std::string multipart_message(std::size_t size, TextPart place) {
    const std::string delimiter = "--=_5f3c2a1b_next_part";
    const std::string head =
        kFields + "Content-Type: multipart/mixed; boundary=\"=_5f3c2a1b_next_part\"\n\n";
    const std::string text = delimiter +
                             "\nContent-Type: text/plain; charset=utf-8\n"
                             "Content-Transfer-Encoding: quoted-printable\n\n" +
                             repeated("Caf=C3=A9 on Monday, as every week.\n", 20);
    const std::string line =
        "QUJDREVGR0hJSktMTU5PUFFSU1RVVldYWVphYmNkZWZnaGlqa2xtbm9wcXJzdHV2d3h5ejAxMjM\n";
    const std::string attachment = delimiter +
                                   "\nContent-Type: application/octet-stream; name=data.bin\n"
                                   "Content-Transfer-Encoding: base64\n\n" +
                                   filled(line, size - head.size() - text.size());
    const bool first = place == TextPart::kFirst;
    return head + (first ? text + attachment : attachment + text) + delimiter + "--\n";
}

std::vector<HostileShape> hostile_shapes() {
    constexpr std::size_t kMega = 1000000;
    return {
        {"one header line of 64 MB", 64 * kMega, long_header_line},
        {"a million header fields", kMega, many_fields},
        {"a million invalid addresses", kMega, many_addresses},
        {"a million groups", kMega, many_groups},
        {"a local part of a million words", kMega, many_words},
        {"a million parameters", kMega, many_parameters},
        {"four million parameters", 4 * kMega, shortest_parameters},
        {"100,000 parts", kMega / 10, many_parts},
        {"four million parts", 4 * kMega, shortest_parts},
        {"a boundary text of 1 MB", kMega, long_boundary},
        {"10 MB of near boundaries", 10 * kMega, near_boundaries},
        {"10 MB of dashes, no boundary text", 10 * kMega, dashes},
        {"10 MB of line feeds", 10 * kMega, line_feeds},
        {"10 MB of '=', quoted-printable", 10 * kMega, equals_signs},
        {"10 MB outside of Base64", 10 * kMega, base64_padding},
        {"comments a million deep", kMega, nested_comments},
        {"multiparts 10,000 deep", 10000, nested_multiparts},
    };
}
