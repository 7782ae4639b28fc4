#include "core/size_limit.h"

#include <cstdlib>
#include <fstream>
#include <string>

SizeLimit SizeLimit::of_mail_system() {
    std::ifstream control("/var/qmail/control/databytes");
    std::string bytes;
    control >> bytes;
    return SizeLimit(std::atoi(bytes.c_str()));
}
