// SPDX-License-Identifier: Apache-2.0

// system_tests PROGRAM CONTROL_PROGRAM MAIL_PROGRAM [GoogleTest's options]: to be started by
// private_world.

#include <cstdlib>
#include <iostream>

#include <gmime/gmime.h>
#include <gtest/gtest.h>

#include "tests/system/world.h"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // The tests write to /etc/tva, /var/qmail and /usr/sbin/sendmail.
    if (argc != 4 || std::getenv("PRIVATE_WORLD_LOG") == nullptr) {
        std::cerr << "usage: private_world " << argv[0]
                  << " PROGRAM CONTROL_PROGRAM MAIL_PROGRAM [OPTIONS]\n";
        return EXIT_FAILURE;
    }
    g_mime_init();
    World::install(argv[1], argv[2], argv[3]);
    return RUN_ALL_TESTS();
}
