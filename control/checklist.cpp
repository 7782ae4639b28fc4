#include "control/checklist.h"

#include <iomanip>

#include "control/terminal.h"

namespace {

constexpr int kThingWidth = 14;

}  // namespace

void Checklist::good(std::string_view thing, const std::string& found) {
    out_ << coloured("good  ", Colour::kGood) << std::left << std::setw(kThingWidth) << thing
         << printable(found) << "\n";
}

void Checklist::to_do(std::string_view thing, const std::string& what) {
    all_good_ = false;
    out_ << coloured("to do ", Colour::kBad) << std::left << std::setw(kThingWidth) << thing
         << printable(what) << "\n";
}
