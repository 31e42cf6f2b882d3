#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <thread>

#include "os/fake/fake_process_launcher.h"
#include "os/fake/fake_service_control.h"
#include "os/fake/fake_shared_memory.h"
#ifdef _WIN32
#include "os/win32/win32_process_launcher.h"
#include "os/win32/win32_service_control.h"
#include "os/win32/win32_shared_memory.h"
#include "os/win32/win32_system_info.h"
#endif

namespace rigel::os {
namespace {

const std::wstring kMissingService = L"RigelNoSuchService";
constexpr std::uint32_t kErrorDatabaseLocked = 1055;  // ERROR_SERVICE_DATABASE_LOCKED
// A service that Wine's machine keeps running.
const std::wstring kRunningService = L"PlugPlay";

// The service manager's answers the driver client tells apart, asked of Wine's real manager and
// of the fake given Wine's running service.
void CheckServiceContract(ServiceControl& control) {
    HService manager = 0;
    std::uint32_t error = 0;
    ASSERT_TRUE(control.OpenManager(ServiceControl::kManagerAllAccess, manager, error)) << error;

    HService service = 99;
    EXPECT_FALSE(
        control.Open(manager, kMissingService, ServiceControl::kServiceAllAccess, service, error));
    EXPECT_EQ(service, 0u);
    EXPECT_EQ(error, ServiceControl::kErrorDoesNotExist);

    ASSERT_TRUE(
        control.Open(manager, kRunningService, ServiceControl::kServiceAllAccess, service, error));
    // While Wine is still starting services of its own the database is locked for a moment.
    for (int attempt = 0;
         attempt < 20 && !control.Start(service, error) && error == kErrorDatabaseLocked;
         ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
    }
    EXPECT_EQ(error, ServiceControl::kErrorAlreadyRunning);
    control.Close(service);

    const ServiceConfig config{L"RigelContractDriver",
                               L"RigelContractDriver",
                               ServiceControl::kServiceAllAccess,
                               ServiceControl::kKernelDriver,
                               ServiceControl::kDemandStart,
                               ServiceControl::kErrorNormal,
                               L"C:\\RigelNoSuchFolder\\rigel_contract.sys"};
    ASSERT_TRUE(control.Create(manager, config, service, error)) << error;
    HService twice = 99;
    EXPECT_FALSE(control.Create(manager, config, twice, error));
    EXPECT_EQ(twice, 0u);
    EXPECT_EQ(error, ServiceControl::kErrorServiceExists);
    EXPECT_FALSE(control.Control(service, ServiceControl::kControlStop, error));
    EXPECT_EQ(error, ServiceControl::kErrorNotActive);
    EXPECT_TRUE(control.Delete(service, error)) << error;
    control.Close(service);
    EXPECT_FALSE(
        control.Open(manager, config.name, ServiceControl::kServiceAllAccess, service, error));
    EXPECT_EQ(error, ServiceControl::kErrorDoesNotExist);
    control.Close(manager);
}

// A named block is shared by name, new ones are zeroed, views stay within the block, and it is
// gone with its last handle.
void CheckSharedMemoryContract(SharedMemory& memory) {
    const std::wstring name = L"RigelContractBlock";
    HMapping first = 0;
    std::uint32_t error = 99;
    ASSERT_TRUE(memory.Create(name, SharedMemory::kPageReadWrite, 2000, first, error));
    EXPECT_EQ(error, 0u);
    auto* written = static_cast<std::uint8_t*>(memory.Map(first, SharedMemory::kMapWrite, 2000));
    ASSERT_NE(written, nullptr);
    EXPECT_EQ(written[0], 0);
    EXPECT_EQ(written[1999], 0);
    written[0] = 'R';
    written[1999] = 'x';

    HMapping second = 0;
    ASSERT_TRUE(memory.Create(name, SharedMemory::kPageReadWrite, 2000, second, error));
    EXPECT_EQ(error, SharedMemory::kErrorAlreadyExists);
    auto* read = static_cast<const std::uint8_t*>(memory.Map(second, SharedMemory::kMapRead, 2000));
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read[0], 'R');
    EXPECT_EQ(read[1999], 'x');
    EXPECT_EQ(memory.Map(second, SharedMemory::kMapRead, 1 << 20), nullptr);
    memory.Unmap(const_cast<std::uint8_t*>(read));
    memory.Unmap(written);
    memory.Close(second);
    memory.Close(first);

    HMapping again = 0;
    ASSERT_TRUE(memory.Create(name, SharedMemory::kPageReadWrite, 2000, again, error));
    EXPECT_EQ(error, 0u);
    auto* fresh = static_cast<std::uint8_t*>(memory.Map(again, SharedMemory::kMapRead, 2000));
    ASSERT_NE(fresh, nullptr);
    EXPECT_EQ(fresh[0], 0);
    memory.Unmap(fresh);
    memory.Close(again);
}

// A missing program is refused (Windows says "not found"; Wine, failing to show its message box
// without a display, says 1400 "invalid window handle"); an existing one, launched with the probe's
// verb and mask, comes back as a process that can be waited for.
void CheckLaunchContract(ProcessLauncher& launcher, const std::wstring& program) {
    const std::uint32_t mask =
        ProcessLauncher::kMaskNoCloseProcess | ProcessLauncher::kMaskDoEnvSubst;
    HProcess process = 99;
    std::uint32_t error = 0;
    EXPECT_FALSE(launcher.Launch(
        {L"runas", L"C:\\RigelNoSuchFolder\\none.exe", L"", mask, ProcessLauncher::kShowHide},
        process, error));
    EXPECT_EQ(process, 0u);
    EXPECT_NE(error, 0u);

    ASSERT_TRUE(
        launcher.Launch({L"runas", program, L"", mask, ProcessLauncher::kShowHide}, process, error))
        << error;
    ASSERT_NE(process, 0u);
    EXPECT_EQ(launcher.Wait(process), ProcessLauncher::kWaitObject0);
    launcher.Close(process);
}

TEST(ServiceControlAndSharedMemory, FakesAnswerAsWindowsDoes) {
    FakeServiceControl control;
    control.services[kRunningService].config.name = kRunningService;
    control.services[kRunningService].running = true;
    CheckServiceContract(control);
    EXPECT_EQ(control.OpenCount(), 0u);

    FakeSharedMemory memory;
    CheckSharedMemoryContract(memory);
    EXPECT_EQ(memory.OpenCount(), 0u);

    FakeProcessLauncher launcher;
    bool ran = false;
    launcher.programs[L"C:\\probe.exe"] = [&ran] { ran = true; };
    CheckLaunchContract(launcher, L"C:\\probe.exe");
    EXPECT_TRUE(ran);
    EXPECT_EQ(launcher.OpenCount(), 0u);
}

#ifdef _WIN32
TEST(ServiceControlAndSharedMemory, Win32MatchesTheContract) {
    Win32ServiceControl control;
    CheckServiceContract(control);
    Win32SharedMemory memory;
    CheckSharedMemoryContract(memory);
    Win32ProcessLauncher launcher;
    // The probe stand-in, built beside this program, exits at once without its text file.
    std::wstring program;
    Win32SystemInfo().OwnModuleFileName(260, program);
    program = program.substr(0, program.rfind(L'\\')) + L"\\cpuprobe.exe";
    CheckLaunchContract(launcher, program);
}
#endif

}  // namespace
}  // namespace rigel::os
