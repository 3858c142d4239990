#include "Validate/Subject.h"

#include "Host/Failure.h"
#include "Validate/Signals.h"

#include <algorithm>
#include <array>

namespace lum::validate {

namespace {

constexpr int kDefaultBlock = 512; // frames

thread_local HostModel* entering = nullptr; // its effect does not exist yet

std::intptr_t fill(void* ptr, const std::string& text) {
    if (ptr == nullptr) return 0;
    auto* target = static_cast<char*>(ptr);
    target[text.copy(target, vst::kVendorTextSize - 1)] = '\0';
    return 1;
}

std::intptr_t answer(HostModel& host, const vst::AEffect* effect, std::int32_t opcode, void* ptr) {
    switch (opcode) {
    case vst::kHostVersion:
        return host.version;
    case vst::kHostIoChanged:
        host.ioChanges++;
        if (effect != nullptr) host.delayAtIoChange = effect->initialDelay;
        return 1;
    case vst::kHostGetSampleRate:
        return host.rate;
    case vst::kHostGetBlockSize:
        return host.blockSize;
    case vst::kHostGetProcessLevel:
        return static_cast<std::intptr_t>(host.level);
    case vst::kHostGetVendorString:
        return fill(ptr, host.vendor);
    case vst::kHostGetProductString:
        return fill(ptr, host.product);
    default:
        return 0;
    }
}

} // namespace

std::intptr_t LUM_VST_CALL Subject::callback(vst::AEffect* effect, std::int32_t opcode,
                                             std::int32_t, std::intptr_t, void* ptr, float) {
    HostModel* host = effect != nullptr && effect->hostReserved1 != 0
                          ? reinterpret_cast<HostModel*>(effect->hostReserved1)
                          : entering;
    if (host != nullptr) return answer(*host, effect, opcode, ptr);
    return opcode == vst::kHostVersion ? vst::kVersion24 : 0;
}

Subject::Subject(const host::PluginModule& module) : Subject(module, own_) {}

Subject::Subject(const host::PluginModule& module, HostModel& host) : host_(host) {
    entering = &host_;
    effect_ = module.entry()(&Subject::callback);
    entering = nullptr;
    if (effect_ == nullptr || effect_->magic != vst::kMagic)
        throw host::Failure("the plug-in refused to start");
    effect_->hostReserved1 = reinterpret_cast<std::intptr_t>(&host_);
}

Subject::~Subject() {
    send(vst::kEffectClose);
}

std::intptr_t Subject::send(std::int32_t opcode, std::int32_t index, std::intptr_t value, void* ptr,
                            float opt) const {
    return effect_->dispatcher(effect_, opcode, index, value, ptr, opt);
}

std::string Subject::text(std::int32_t opcode, std::int32_t index, std::intptr_t value) const {
    std::array<char, 256> buffer{}; // what the kindest hosts offer
    send(opcode, index, value, buffer.data());
    buffer.back() = '\0';
    return buffer.data();
}

void Subject::start(double rate, int blockSize) {
    open();
    setRate(rate, blockSize);
    resume();
}

void Subject::setRate(double rate, int blockSize) {
    send(vst::kEffectSetSampleRate, 0, 0, nullptr, static_cast<float>(rate));
    send(vst::kEffectSetBlockSize, 0, blockSize);
}

std::vector<float> Subject::parameters() const {
    std::vector<float> values(static_cast<std::size_t>(parameterCount()));
    for (std::size_t i = 0; i < values.size(); i++) values[i] = get(static_cast<int>(i));
    return values;
}

int Subject::find(std::string_view name) const {
    for (int i = 0; i < parameterCount(); i++)
        if (text(vst::kEffectGetParameterName, i) == name) return i;
    return -1;
}

Bytes Subject::chunk(bool isProgram) const {
    void* data = nullptr;
    const auto size = send(vst::kEffectGetChunk, isProgram ? 1 : 0, 0, &data);
    const auto* bytes = static_cast<const char*>(data);
    return bytes != nullptr && size > 0 ? Bytes(bytes, bytes + size) : Bytes();
}

bool Subject::load(bool isProgram, const Bytes& bytes) const {
    return send(vst::kEffectSetChunk, isProgram ? 1 : 0, static_cast<std::intptr_t>(bytes.size()),
                const_cast<char*>(bytes.data())) == 1;
}

bool Subject::restore(const Bytes& bank, std::int32_t program) const {
    if (!load(false, bank)) return false;
    send(vst::kEffectSetProgram, 0, program);
    return true;
}

template <class Sample>
Planar<Sample> render(Subject& subject, const Planar<Sample>& input, std::span<const int> blocks) {
    constexpr int kWhole[] = {kDefaultBlock};
    if (blocks.empty()) blocks = kWhole;
    const std::size_t frames = input.empty() ? 0 : input[0].size();
    const std::vector<Sample> silence(frames);
    Planar<Sample> output(static_cast<std::size_t>(subject.outputs()), silence);
    std::size_t turn = 0;
    for (std::size_t position = 0; position < frames;) {
        const auto wanted = static_cast<std::size_t>(blocks[turn++ % blocks.size()]);
        const std::size_t count = std::min(wanted, frames - position);
        std::vector<Sample*> in;
        std::vector<Sample*> out;
        for (std::size_t c = 0; c < static_cast<std::size_t>(subject.inputs()); c++)
            in.push_back(const_cast<Sample*>(c < input.size() ? input[c].data() : silence.data()) +
                         position);
        for (auto& channel : output) out.push_back(channel.data() + position);
        subject.process(in.data(), out.data(), static_cast<int>(count));
        position += count;
    }
    return output;
}

template Planar<float> render(Subject&, const Planar<float>&, std::span<const int>);
template Planar<double> render(Subject&, const Planar<double>&, std::span<const int>);

void scramble(Subject& subject, std::uint32_t seed) {
    Random random(seed);
    for (int i = 0; i < subject.parameterCount(); i++)
        subject.set(i, static_cast<float>(random.unit()));
    const int bypass = subject.find("Bypass");
    if (bypass >= 0) subject.set(bypass, 0.0F);
}

} // namespace lum::validate
