#pragma once

#include <ostream>

class ofd_pipestream : public std::ostream {
  public:
    explicit ofd_pipestream(int fd);
};
