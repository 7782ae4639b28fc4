#include <cstdlib>
#include <iostream>
#include <string_view>

#include <gmime/gmime.h>
#include <gtest/gtest.h>

#include "tests/faults/faults.h"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    g_mime_init();
    World::install(argv[1], argv[2], argv[3]);
    Faults::install(argv[4], argv[5], argc > 6);
    return RUN_ALL_TESTS();
}
