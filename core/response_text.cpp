#include "core/response_text.h"

#include <exception>

#include "core/responder_row.h"
#include "encoding/iconv_recode.h"

ResponseText response_text(const ResponderRow& responder) {
    try {
        return {tolva::iconvRecode(responder.text, "UTF-8", responder.charset, true),
                responder.charset};
    } catch (const std::exception&) {
        // Whatever the charset's name or the text causes, exhausted memory included: a reply in
        // UTF-8 is better than none.
        return {responder.text, "UTF-8"};
    }
}
