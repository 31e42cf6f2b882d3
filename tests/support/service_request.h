#pragma once

#include <string>

#include "service/web_service.h"

namespace rigel::test {

// One request to the data service through the product's own client, for tests that talk to the
// reference service (its administration paths among them): the reply's body.
inline std::wstring ServiceRequest(const wchar_t* verb, const wchar_t* path) {
    WebService request;
    request.SetVerb(verb);
    request.SetPath(path);
    request.Call();
    return request.GetResult();
}

}  // namespace rigel::test
