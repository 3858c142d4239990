#include "Platform/Surface.h"

#include <cerrno>
#include <sys/mman.h>
#include <unistd.h>

// A file of memory without a name: its descriptor can be handed to a display server.

namespace lum::platform {

int CSurface::create(int width, int height) noexcept {
    destroy();
    section = memfd_create("surface", MFD_CLOEXEC);
    if (section < 0) return errno;
    bytes = static_cast<uint64_t>(width) * static_cast<uint64_t>(height) * 4;
    void* place = MAP_FAILED;
    if (ftruncate(section, static_cast<off_t>(bytes)) == 0)
        place = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, section, 0);
    if (place == MAP_FAILED) {
        const int code = errno;
        destroy();
        return code;
    }
    memory = static_cast<uint8_t*>(place);
    return 0;
}

void CSurface::destroy() noexcept {
    if (memory) munmap(memory, bytes);
    if (section >= 0) close(section);
    memory = nullptr;
    section = -1;
}

} // namespace lum::platform
