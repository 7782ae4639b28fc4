// SPDX-License-Identifier: Apache-2.0

#include "tests/system/fuse_daemon.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include <linux/fuse.h>

namespace {

constexpr std::uint64_t kTop = 1;
constexpr std::uint64_t kEntry = 2;
constexpr std::uint64_t kTerabyte = std::uint64_t{1} << 40U;

class Service {
  public:
    Service(int device, const FuseTree& tree) : device_(device), tree_(tree) {}

    [[noreturn]] void serve() {
        std::vector<char> request(std::size_t{1} << 18U);
        for (;;) {
            const ssize_t size = read(device_, request.data(), request.size());
            if (size < 0 && errno != EINTR && errno != ENOENT) {
                _exit(EXIT_SUCCESS);  // it is not mounted any more
            }
            if (size >= static_cast<ssize_t>(sizeof request_)) {
                std::memcpy(&request_, request.data(), sizeof request_);
                carry_out(request.data() + sizeof request_);
            }
        }
    }

  private:
    void carry_out(const char* arguments) {
        if (tree_.refuses_root && request_.uid == 0 &&
            (request_.opcode == FUSE_LOOKUP || request_.opcode == FUSE_OPEN ||
             request_.opcode == FUSE_OPENDIR)) {
            refuse(EACCES);
            return;
        }
        switch (request_.opcode) {
            case FUSE_INIT:
                initialise(arguments);
                break;
            case FUSE_LOOKUP:
                look_up(arguments);
                break;
            case FUSE_GETATTR: {
                fuse_attr_out out{};
                out.attr = attributes_of(request_.nodeid);
                answer(&out, sizeof out);
                break;
            }
            case FUSE_READLINK:
                answer(tree_.target.data(), tree_.target.size());
                break;
            case FUSE_OPEN:
            case FUSE_OPENDIR: {
                const fuse_open_out out{};
                answer(&out, sizeof out);
                break;
            }
            case FUSE_READ:
                read_file(arguments);
                break;
            case FUSE_STATFS: {
                const fuse_statfs_out out{};
                answer(&out, sizeof out);
                break;
            }
            case FUSE_FLUSH:
            case FUSE_RELEASE:
            case FUSE_RELEASEDIR:
                answer(nullptr, 0);
                break;
            case FUSE_FORGET:
            case FUSE_BATCH_FORGET:
            case FUSE_INTERRUPT:
                break;  // has no answer
            default:
                refuse(ENOSYS);
        }
    }

    void initialise(const char* arguments) {
        fuse_init_in in{};
        std::memcpy(&in, arguments, sizeof in);
        fuse_init_out out{};
        out.major = FUSE_KERNEL_VERSION;
        out.minor = std::min<std::uint32_t>(in.minor, FUSE_KERNEL_MINOR_VERSION);
        out.max_write = 65536;
        answer(&out, sizeof out);
    }

    void look_up(const char* name) {
        if (tree_.hangs_on_look_up) {
            return;
        }
        if (name != tree_.name) {
            refuse(ENOENT);
            return;
        }
        fuse_entry_out out{};
        out.nodeid = kEntry;
        out.attr = attributes_of(kEntry);
        answer(&out, sizeof out);
    }

    void read_file(const char* arguments) {
        fuse_read_in in{};
        std::memcpy(&in, arguments, sizeof in);
        constexpr std::uint64_t mebibyte = 1U << 20U;
        if (tree_.hangs_on_read || (tree_.hangs_after_a_mebibyte && in.offset >= mebibyte)) {
            return;
        }
        if (tree_.endless) {
            const std::string zeros(in.size, '\0');
            answer(zeros.data(), zeros.size());
            return;
        }
        const std::string_view content = tree_.content;
        const std::string_view rest =
            content.substr(std::min<std::size_t>(in.offset, content.size()), in.size);
        answer(rest.data(), rest.size());
    }

    [[nodiscard]] fuse_attr attributes_of(std::uint64_t node) const {
        fuse_attr attributes{};
        attributes.ino = node;
        attributes.nlink = 1;
        attributes.uid = tree_.owner;
        attributes.gid = tree_.owner;
        if (node == kTop) {
            attributes.mode = S_IFDIR | tree_.mode;
        } else if (!tree_.target.empty()) {
            attributes.mode = S_IFLNK | 0777U;
            attributes.size = tree_.target.size();
        } else {
            attributes.mode = S_IFREG | (tree_.mode & ~0111U);
            attributes.size = tree_.endless ? kTerabyte : tree_.content.size();
        }
        return attributes;
    }

    void answer(const void* bytes, std::size_t size, int error = 0) {
        fuse_out_header header{};
        header.len = static_cast<std::uint32_t>(sizeof header + size);
        header.error = -error;
        header.unique = request_.unique;
        const std::array<iovec, 2> pieces{iovec{&header, sizeof header},
                                          iovec{const_cast<void*>(bytes), size}};
        [[maybe_unused]] const ssize_t written = writev(device_, pieces.data(), 2);
    }

    void refuse(int error) { answer(nullptr, 0, error); }

    int device_;
    const FuseTree& tree_;
    fuse_in_header request_{};
};

}  // namespace

FuseDaemon::FuseDaemon(std::string directory, const FuseTree& tree)
    : directory_(std::move(directory)) {
    const int device = open("/dev/fuse", O_RDWR | O_CLOEXEC);
    if (device < 0) {
        throw std::runtime_error("cannot open /dev/fuse");
    }
    const std::string options = "fd=" + std::to_string(device) +
                                ",rootmode=40000,user_id=" + std::to_string(tree.mounted_by) +
                                ",group_id=" + std::to_string(tree.mounted_by) + ",allow_other";
    const bool mounted =
        mount("test", directory_.c_str(), "fuse", MS_NOSUID | MS_NODEV, options.c_str()) == 0;
    if (mounted) {
        pid_ = fork();
        if (pid_ == 0) {
            Service(device, tree).serve();
        }
    }
    close(device);
    if (!mounted) {
        throw std::runtime_error("cannot mount a file system of FUSE");
    }
}

FuseDaemon::~FuseDaemon() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    umount2(directory_.c_str(), MNT_DETACH);
}

bool FuseDaemon::is_possible() {
    const std::string directory = std::filesystem::temp_directory_path() / "fuse-trial";
    std::filesystem::create_directories(directory);
    bool possible = true;
    try {
        const FuseDaemon trial(directory, {});
    } catch (const std::runtime_error&) {
        possible = false;
    }
    std::filesystem::remove(directory);
    return possible;
}
