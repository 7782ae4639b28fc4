#include "core/boundary.h"

#include <cstdlib>

std::string makeBoundaryStr() {
    constexpr int random_letters = 29;
    constexpr int letters = 26;

    std::string boundary = "--------=_";
    for (int i = 0; i < random_letters; ++i) {
        const int r = std::rand() % (2 * letters);
        boundary += static_cast<char>(r < letters ? 'A' + r : 'a' + (r - letters));
    }
    return boundary;
}
