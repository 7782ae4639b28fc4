// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

#include <mimelib/mimepp.h>

// What both libraries read from a message: sender from Reply-To or From, subject, date, and of the
// text body charset and decoded text.
struct Extract {
    std::string sender;
    std::string subject;
    std::string date;
    std::string charset;
    std::string body;
};

Extract read_with_mimelib(const DwString& message);

// Parses `message` in place.
Extract read_with_gmime(const std::string& message);
