#pragma once

#include <string>

#include <mimelib/mimepp.h>

// What is read of a message, the same with either library: sender from Reply-To or From, subject,
// date, and of the text body type, charset and decoded text.
struct Extract {
    std::string sender;
    std::string subject;
    std::string date;
    std::string charset;
    std::string body;
};

Extract read_with_mimelib(const DwString& message);

// Parses straight from the memory given.
Extract read_with_gmime(const std::string& message);
