// Memory that the system refuses. An instance that cannot have what it needs is not begun, and the
// host goes on; one that runs has no way back, and ends the process at once instead of leaving it
// with locks that nobody gives back.

#include "Core/Sanitized.h"
#include "Faults/Confined.h"
#include "Host/HostedPlugin.h"

#include <csignal>
#include <fstream>
#include <sys/resource.h>
#include <unistd.h>

namespace lum::test {
namespace {

using namespace lum::vst;

constexpr int kMostInstances = 200;

/// Lets the process have so much more address space than it has now.
void allowMore(rlim_t bytes) {
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    rlimit limit{};
    getrlimit(RLIMIT_AS, &limit);
    limit.rlim_cur = bytes == RLIM_INFINITY
                         ? limit.rlim_max
                         : pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + bytes;
    setrlimit(RLIMIT_AS, &limit);
}

TEST(Memory, withoutRoomNoInstanceIsBegunAndTheHostGoesOn) {
    if (kIsSanitized) GTEST_SKIP() << "a sanitizer reserves its own memory";
    const Confined run([] {
        Instance instance;
        instance.open(48000);
        render(instance, noise<float>(8, 2000));
        allowMore(4 << 20);
        int made = 0; // from memory that was free already
        while (made < kMostInstances && instance.file.entry()(&HostModel::callback)) made++;
        if (made == kMostInstances) return 1;
        render(instance, noise<float>(8, 2000)); // the one that runs goes on
        allowMore(RLIM_INFINITY);
        return Instance().effect ? 0 : 2;
    });
    EXPECT_EQ(run.status(), 0) << run.errors();
    EXPECT_NE(run.errors().find("The system has no memory for another instance."),
              std::string::npos)
        << run.errors();
}

TEST(Memory, aRunningInstanceEndsTheProcessAndHoldsNoLock) {
    if (kIsSanitized) GTEST_SKIP() << "a sanitizer reserves its own memory";
    const Confined run(
        [] {
            Instance instance;
            instance.open(48000);
            std::string name(32 << 20, 'n');
            allowMore(1 << 20);
            instance.send(kEffectSetProgramName, 0, 0, name.data());
            return 0;
        },
        20);
    EXPECT_FALSE(run.isHung());
    EXPECT_EQ(run.status(), -SIGABRT);
    EXPECT_NE(run.errors().find("The system refused "), std::string::npos) << run.errors();
}

} // namespace
} // namespace lum::test
