#pragma once

#include "Core/CCheckedObject.h"

namespace lum {

class CAudioParam;

/// What the clients of the engine may ask of the instance, and tell it. Control threads.
class CAudioInterfaceDataProvider : public virtual CCheckedObject {
public:
    virtual int getIntChannelCount() = 0;
    virtual int getGroupCount() = 0;
    virtual int getInChannelCount() = 0; // main input, without the side chain
    virtual int getOutChannelCount() = 0;
    virtual int getSideChainChannelCount() = 0;
    virtual double getSampleRate() = 0; // Hz
    /// A control takes hold of a parameter, or lets go of it. Not exposed: nothing happens.
    virtual void paramBeginEdit(CAudioParam& param, int element, int group) = 0;
    virtual void paramEndEdit(CAudioParam& param, int element, int group) = 0;
    /// Writes the host's channel labels to the channel names, on the user's request.
    virtual void importChannelLabels() = 0;
};

} // namespace lum
