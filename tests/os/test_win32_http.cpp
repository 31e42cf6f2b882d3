#include <gtest/gtest.h>

#ifdef _WIN32

#include <cstdint>
#include <optional>
#include <string>

#include "os/win32/win32_http.h"

namespace rigel::os {
namespace {

// Nothing listens on port 1 of the loopback address, so every exchange fails at the send.
constexpr std::uint16_t kClosedPort = 1;
constexpr std::uint32_t kCannotConnect = 12029;

TEST(Win32HttpTest, HandlesReachWinInetAndItsErrorsComeBack) {
    Win32Http http;
    const HInternet session =
        http.OpenSession(L"RIGEL", 1 /* direct */, std::nullopt, std::nullopt, 0);
    ASSERT_NE(session, 0u);
    EXPECT_EQ(http.OpenUrl(session, L"http://127.0.0.1:1/global/tests/test_2.bin", std::nullopt,
                           0x84000000),
              0u);
    EXPECT_EQ(http.LastError(), kCannotConnect);

    const HInternet connection = http.Connect(session, L"127.0.0.1", kClosedPort, std::wstring(),
                                              std::wstring(), 3, 0x40000);
    ASSERT_NE(connection, 0u);
    const HInternet request =
        http.OpenRequest(connection, L"POST", L"/x", std::wstring(L"HTTP/1.1"), std::nullopt,
                         {L"text/*"}, 0x84400000);
    ASSERT_NE(request, 0u);
    EXPECT_TRUE(http.SetOption(request, 6 /* receive time-out */, 1500));
    EXPECT_FALSE(http.SendRequest(request, std::wstring(L"Content-Length: 2"), std::string("ab")));
    EXPECT_EQ(http.LastError(), kCannotConnect);
    for (HInternet handle : {request, connection, session}) EXPECT_TRUE(http.CloseHandle(handle));

    EXPECT_FALSE(http.CloseHandle(0x1234));
    std::uint32_t available = 7;
    EXPECT_FALSE(http.QueryDataAvailable(0x1234, available));
}

}  // namespace
}  // namespace rigel::os

#endif
