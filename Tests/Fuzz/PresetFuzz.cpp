#include "Audio/CAudioPreset.h"
#include "Fuzz/FuzzStream.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    return fuzzStreamForm<lum::CAudioPreset>(bytes, size);
}
