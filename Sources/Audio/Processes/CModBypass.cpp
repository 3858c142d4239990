#include "Audio/Processes/CModBypass.h"

#include <algorithm>

namespace lum {

namespace {

enum BypassParam { kEnable = 0, kGroupSolo = 1 }; // param-alloc indices
constexpr int kDryPort = 1;

} // namespace

CAudioProcessBase* CModBypassDef::createProcess() const {
    return new CModBypass;
}

void CModBypassModule::registerParams() {
    regModuleParam(kEnable, &enable);
    regModuleParam(kGroupSolo, &groupSolo);
}

void CModBypassModule::init() {
    findDrySlot();
}

void CModBypassModule::update() LUM_REALTIME {
    isWet = enable.read() < 0.5;
    isMuted = !isWet && !drySlot;
    if (isMuted || !isAnySoloed()) return;
    isMuted = groupSolo.readGroup(getGroupIndex()) < 0.5;
    if (isMuted) isWet = false;
}

void CModBypassModule::process(int frames) LUM_REALTIME {
    for (CModuleChannel& channel : channels) {
        if (isWet) {
            channel.output = channel.input->block;
        } else if (!isMuted) {
            channel.output = drySlot->block;
        } else {
            channel.output = getPool().take(frames);
            noise.fill(channel.output.samples(), frames);
        }
    }
}

bool CModBypass::readsPort(int number) const LUM_REALTIME {
    return number != kDryPort ||
           std::any_of(getRunList().begin(), getRunList().end(), [](const CAudioModule* module) {
               return module && static_cast<const CModBypassModule*>(module)->isDryHeard();
           });
}

/// The dry slot of this module's own channel, or failing that the last one of its group.
void CModBypassModule::findDrySlot() LUM_REALTIME {
    drySlot = nullptr;
    if (channels.empty()) return;
    const CSlotFormat& own = channels[0].input->format;
    for (CChannelSlot& slot : getTerminal().inputSlots(kDryPort)) {
        if (slot.format.group != own.group) continue;
        drySlot = &slot;
        if (slot.format.channel == own.channel) return;
    }
}

bool CModBypassModule::isAnySoloed() const LUM_REALTIME {
    for (int group = 0; group < groupSolo.groupCount(); group++)
        if (groupSolo.readGroup(group) >= 0.5) return true;
    return false;
}

} // namespace lum
