// SPDX-License-Identifier: Apache-2.0

// fault_tests PROGRAM CONTROL_PROGRAM MAIL_PROGRAM INJECTOR FAILING_ALLOCATIONS [every-fault]
// [GoogleTest's options]: to be started by private_world.

#include <cstdlib>
#include <iostream>
#include <string_view>

#include <gmime/gmime.h>
#include <gtest/gtest.h>

#include "tests/faults/faults.h"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const bool every_fault = argc == 7 && std::string_view(argv[6]) == "every-fault";
    if ((argc != 6 && !every_fault) || std::getenv("PRIVATE_WORLD_LOG") == nullptr) {
        std::cerr << "usage: private_world " << argv[0]
                  << " PROGRAM CONTROL_PROGRAM MAIL_PROGRAM INJECTOR FAILING_ALLOCATIONS"
                     " [every-fault] [OPTIONS]\n";
        return EXIT_FAILURE;
    }
    g_mime_init();
    World::install(argv[1], argv[2], argv[3]);
    Faults::install(argv[4], argv[5], every_fault);
    const int result = RUN_ALL_TESTS();
    const Figures& figures = Faults::figures();
    std::cout << figures.tried << " faults tried, " << figures.held << " held; " << figures.stalls
              << " stalls, " << figures.files_left << " times files left, " << figures.silent
              << " times a mail cut or missing without a word\n";
    return result;
}
