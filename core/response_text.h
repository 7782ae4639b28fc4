#pragma once

#include <string>

struct ResponderRow;

/// The text of a reply as it is sent.
struct ResponseText {
    std::string bytes;
    std::string charset;
};

/// The text of `responder` in its charset, or in UTF-8 where it cannot be converted. Throws
/// std::bad_alloc.
ResponseText response_text(const ResponderRow& responder);
