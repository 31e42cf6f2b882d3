#pragma once

#include <cstdint>
#include <string>

#include "core/components.h"
#include "core/referrer_groups.h"
#include "core/system_values.h"

namespace rigel {

// The detection session of the process: the identifiers of the web visit, the debug setting, the
// component registry, the value store and the referrer's group list.
class System {
  public:
    static System& Instance();

    virtual ~System();
    System(const System&) = delete;
    System& operator=(const System&) = delete;

    void Initialize();
    void SetConfiguration(const std::wstring& config);
    void Detect();

    static const std::wstring& GetVersion();

    const std::wstring& GetSessionID() const { return sessionID_; }
    const std::wstring& GetComputerID() const { return computerID_; }
    const std::wstring& GetReferrerID() const { return referrerID_; }
    const std::wstring& GetUserID() const { return userID_; }
    bool IsDebug() const;
    SystemValues& GetSystemValues() { return values_; }
    ReferrerGroups& GetReferrerGroups() { return referrerGroups_; }

    void SetSessionID(const std::wstring& text);
    void SetComputerID(const std::wstring& text);
    void SetReferrerID(const std::wstring& text);
    void SetUserID(const std::wstring& text);
    void SetDebug(const std::wstring& text);

    // Finds the text between the first startTag and the first endTag after it. True when that
    // text is not empty; out is left alone when the end tag is missing.
    static bool ExtractTag(const std::wstring& source, const std::wstring& startTag,
                           const std::wstring& endTag, std::wstring& out);

    // Drops the instance so that a test starts from a fresh session (the product never calls it).
    static void DestroyInstanceForTesting();

  private:
    System();
    void StoreIdentifiers();
    void UploadUnlessRecent();

    std::wstring sessionID_;
    std::wstring computerID_;
    std::wstring referrerID_;
    std::wstring userID_;
    std::wstring debug_;
    bool detected_ = false;
    bool reportSent_ = false;
    std::int64_t lastUploadTime_ = 0;
    ReferrerGroups referrerGroups_;
    Components components_;
    SystemValues values_;
};

}  // namespace rigel
