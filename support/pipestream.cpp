// SPDX-License-Identifier: Apache-2.0

#include "support/pipestream.h"

template class basic_handlestream<PipeCloseStrategy, OutputStreamStrategy>;

ofd_pipestream::ofd_pipestream(int fd) : basic_handlestream(fd) {}
