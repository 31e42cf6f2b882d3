#pragma once

#include <string>

namespace rigel {

class SystemValues;

// Renders the value store as the XML report: the values of the groups enabled for the referrer
// plus the always-reported ones, each text made safe for XML.
class XMLReport {
  public:
    explicit XMLReport(const SystemValues& values);
    XMLReport(const XMLReport&) = delete;
    XMLReport& operator=(const XMLReport&) = delete;
    virtual ~XMLReport() = default;

    // Replaces out with the report text.
    void GetReport(std::wstring& out) const;

    // The text with the characters XML forbids replaced by "?", trimmed, runs of blanks made
    // one blank, and "&", "<" and ">" escaped. The result lives in a buffer shared by all calls
    // and is overwritten by the next one.
    static const std::wstring& CleanText(const std::wstring& text);

  private:
    const SystemValues& values_;
};

}  // namespace rigel
