#include "core/response.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <iostream>
#include <new>
#include <optional>

#include "core/diagnostics.h"
#include "core/mail_content.h"
#include "core/responder_row.h"
#include "encoding/base64.h"
#include "encoding/iconv_recode.h"
#include "encoding/idn.h"
#include "encoding/rfc1522.h"
#include "support/c_pointer.h"
#include "support/descriptor.h"
#include "support/log.h"
#include "support/template.h"

namespace {

/// The text of the reply in the responder's charset, or as it is in UTF-8.
struct ResponseText {
    std::string bytes;
    std::string charset;
};

/// Sorted by name, as templ_replace needs it.
const std::array<par_templ, 5>& autoresp_templs(const Mail_content& mail) {
    static const std::array<par_templ, 5> templs{{
        {"incoming_message_subject", mail.subject.c_str()},
        {"orig_emails_sender_mailname", mail.from.c_str()},
        {"orig_emails_subj", mail.subject.c_str()},
        {"request_from", mail.from.c_str()},
        {"request_subject", mail.subject.c_str()},
    }};
    return templs;
}

std::string fill_in(const std::string& subject, const Mail_content& mail) {
    const auto& templs = autoresp_templs(mail);
    std::array<char, 1000> filled{};
    repl_ctl control{};
    control.input_flags = TEMPL_KEEP_UNKNOWN;
    templ_replace('<', '>', templs.data(), templs.size(), subject.c_str(), filled.data(),
                  filled.size() - 1, &control);
    return {filled.data(), static_cast<std::size_t>(control.output_length)};
}

/// The own address as it stands in From:, or nothing if it cannot be converted.
std::optional<std::string> from_address(const std::string& own_address) {
    try {
        return tolva::idn::toAscii(own_address);
    } catch (const tolva::idn::IdnaError& error) {
        errno = 0;  // not a system error: keeps the log from naming an older one
        messlog2(1, 1, "IDN conversion error: %s", error.what());
    } catch (const std::bad_alloc&) {
        errno = 0;
        messlog2(1, 1, "Program failed due to exhausted memory");
    }
    return std::nullopt;
}

ResponseText text_of(const ResponderRow& responder) {
    try {
        return {tolva::iconvRecode(responder.text, "UTF-8", responder.charset, true),
                responder.charset};
    } catch (const std::exception&) {
        return {responder.text, "UTF-8"};
    }
}

void write_headers(std::ostream& out, const Mail_content& mail, const ResponderRow& responder) {
    if (!responder.reply_to.empty()) {
        out << "Reply-To: " << responder.reply_to << "\n";
    }
    if (const auto from = from_address(mail.to)) {
        out << "From: " << *from << "\n";
    }
    out << "To: " << mail.from << "\n"
        << "MIME-Version: 1.0\n"
        << "Subject: " << tolva::rfc1522::encode(response_subject(mail, responder)) << "\n";
}

void write_text(std::ostream& out, const ResponderRow& responder) {
    const ResponseText text = text_of(responder);
    out << "Content-Type: " << responder.content_type << "; charset=\"" << text.charset << "\"\n"
        << "Content-Transfer-Encoding: 8bit\n"
        << "Content-Disposition: inline\n"
        << "\n"
        << text.bytes << "\n\n\n";
}

/// Opens a file to attach. Only what has an end can be attached, and opening must not wait for
/// anybody: directories, pipes and devices are refused. Null, with the reason in errno, on failure.
tolva::FilePointer open_attachment(const std::string& path) {
    tolva::Descriptor fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!fd || fstat(fd.get(), &status) != 0) {
        return nullptr;
    }
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return nullptr;
    }
    tolva::FilePointer file(fdopen(fd.get(), "r"));
    if (file) {
        // Now the stream's.
        [[maybe_unused]] const int owned_by_file = fd.release();
    }
    return file;
}

void report_unreadable(const std::string& path) {
    std::cerr << "autoresponder: Failed to read attachement file '" << path
              << "': " << error_text(errno) << std::endl;
}

/// Lines of 60 characters, 45 bytes of the file each (RFC 2045, 6.8 allows 76).
void write_base64(std::ostream& out, const std::string& path) {
    const tolva::FilePointer file = open_attachment(path);
    if (!file) {
        report_unreadable(path);
        return;
    }
    std::array<unsigned char, 45> block{};
    std::array<char, 62> line{};
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), file.get())) {
        const auto length =
            static_cast<std::size_t>(base64Encode(block.data(), count, line.data()));
        line[length] = '\n';
        out.write(line.data(), static_cast<std::streamsize>(length + 1));
    }
    if (std::ferror(file.get()) != 0) {
        report_unreadable(path);
    }
}

void write_attachment(std::ostream& out, const std::string& directory, const std::string& name) {
    out << "Content-Type: application/octet-stream\n"
        << "Content-Transfer-Encoding: base64\n"
        << "Content-Disposition: attachment;\n"
        << "\tfilename=\"" << tolva::rfc1522::encode(name) << "\"\n"
        << "\n";
    write_base64(out, directory + "/" + name);
    out << "\n";
}

}  // namespace

std::string response_subject(const Mail_content& mail, const ResponderRow& responder) {
    return responder.subject.empty() ? "Re: " + mail.subject : fill_in(responder.subject, mail);
}

void write_response(std::ostream& out, const Mail_content& mail, const ResponderRow& responder,
                    const ResponseAttachments& attachments) {
    write_headers(out, mail, responder);
    if (attachments.names.empty()) {
        write_text(out, responder);
        return;
    }
    const std::string delimiter = "--" + attachments.boundary;
    out << "Content-Type: multipart/mixed;\n"
        << "\tboundary=\"" << attachments.boundary << "\"\n"
        << "\n"
        << delimiter << "\n";
    write_text(out, responder);
    for (const std::string& name : attachments.names) {
        out << delimiter << "\n";
        write_attachment(out, attachments.directory, name);
    }
    out << delimiter << "--\n";
}
