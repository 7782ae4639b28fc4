// SPDX-License-Identifier: Apache-2.0

// Writes the seeds of the fuzz targets: write_seeds VECTORS DIRECTORY

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "tests/unit/mimelib/naive.h"
#include "tests/unit/mimelib/vectors.h"

namespace {

class SeedWriter {
  public:
    explicit SeedWriter(std::filesystem::path directory) : directory_(std::move(directory)) {}

    void write(const std::string& target, const std::string& text) {
        std::filesystem::create_directories(directory_ / target);
        std::ofstream file(directory_ / target / std::to_string(count_++), std::ios::binary);
        file << text;
        if (!file.flush()) {
            throw std::runtime_error("cannot write below " + directory_.string());
        }
    }

  private:
    std::filesystem::path directory_;
    std::size_t count_ = 0;
};

void write_seeds(const char* vectors, const char* directory) {
    SeedWriter seeds(directory);
    for (const Vector& vector : load_vectors(vectors)) {
        seeds.write("message", vector.message);
        const naive::Entity message = naive::entity(vector.message);
        for (const auto& [name, body] : message.fields) {
            if (name == "From" || name == "Reply-To") {
                seeds.write("address", body);
            } else if (name == "Content-Type") {
                seeds.write("media_type", body);
            } else if (name == "Content-Transfer-Encoding") {
                seeds.write("base64", message.body);
                seeds.write("quoted_printable", message.body);
            }
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    try {
        if (argc != 3) {
            throw std::runtime_error("usage: write_seeds VECTORS DIRECTORY");
        }
        write_seeds(argv[1], argv[2]);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
