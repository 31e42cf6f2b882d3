#pragma once

#include <exception>
#include <string>

namespace rigel {

// The system's exception: a message and the qualified name of the operation that raised it.
// It derives from the standard exception so that handlers for standard exceptions see it too.
class Exception : public std::exception {
  public:
    Exception(std::wstring message, std::wstring place);

    // Not named GetMessage: windows.h turns that name into a macro.
    const std::wstring& GetMessageText() const { return message_; }
    const std::wstring& GetPlace() const { return place_; }

    // The wide texts do not fit the narrow interface; callers read GetMessageText.
    const char* what() const noexcept override;

  private:
    std::wstring message_;
    std::wstring place_;
};

}  // namespace rigel
