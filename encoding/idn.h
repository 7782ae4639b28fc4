#ifndef ENCODING_IDN_H
#define ENCODING_IDN_H

#ifdef __cplusplus
#include <exception>
#include <string>

extern "C" {
#endif

const char* idn_strerror(int code);

#ifdef __cplusplus
}

namespace tolva::idn {

class IdnaError : public std::exception {
  public:
    explicit IdnaError(int code) : code_(code) {}
    ~IdnaError() override;
    [[nodiscard]] const char* what() const noexcept override;

  private:
    int code_;
};

std::string toAscii(const std::string& name);
std::string toUtf8(const std::string& name);
std::string emailToAscii(const std::string& address);

}  // namespace tolva::idn
#endif

#endif
