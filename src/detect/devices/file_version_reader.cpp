#include "detect/devices/file_version_reader.h"

namespace rigel {
namespace {

class NoFileVersions : public FileVersionReader {
  public:
    bool GetFileVersionNumber(const std::wstring&, std::uint64_t&) override { return false; }
};

}  // namespace

FileVersionReader& FileVersionReader::Default() {
    static NoFileVersions reader;
    return reader;
}

}  // namespace rigel
