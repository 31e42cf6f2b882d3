#include "control/logic/parameter_tags.h"

#include "control/logic/sys_info_dispid.h"

namespace rigel {

const ParameterTags::Tags& ParameterTags::LoadOrder() {
    static const Tags tags{{{L"LOGGING", kDispidLogging},
                            {L"SESSION_ID", kDispidSessionID},
                            {L"REFERRER_ID", kDispidReferrerID},
                            {L"USER_ID", kDispidUserID},
                            {L"DEBUG", kDispidDebug}}};
    return tags;
}

const ParameterTags::Tags& ParameterTags::SaveOrder() {
    static const Tags tags{{{L"LOGGING", kDispidLogging},
                            {L"REFERRER_ID", kDispidReferrerID},
                            {L"SESSION_ID", kDispidSessionID},
                            {L"USER_ID", kDispidUserID},
                            {L"DEBUG", kDispidDebug}}};
    return tags;
}

void ParameterTags::Load(const Reader& read, const Applier& apply) {
    for (const Tag& tag : LoadOrder()) {
        std::wstring text;
        if (read(tag.key, text)) apply(tag.dispid, text);
    }
}

}  // namespace rigel
