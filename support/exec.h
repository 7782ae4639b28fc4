#ifndef SUPPORT_EXEC_H
#define SUPPORT_EXEC_H

#ifdef __cplusplus
extern "C" {
#endif

int fork_execv_pipes(int fd_in, int fd_out, int fd_err, const char* path, char* const argv[]);
int fork_execl_pipes(int fd_in, int fd_out, int fd_err, const char* path, ...);

#ifdef __cplusplus
}
#endif

#endif
