#pragma once

#include "Core/CAppData.h"
#include "Core/CObject.h"

namespace lum {

class CAudioExtParam;

/// `audio:cctable`: the stored map from MIDI controller numbers to exposed parameters.
class CAudioCCTable : public CObject {
public:
    static constexpr int kControllerCount = 128;

    CAudioCCTable();
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;
    void prepareDestroy() override;

    /// Reads the map of the local store anew. Error: the record ends early; what came before stays.
    CErrorResult load();
    /// The same from the bytes of such a record; without any the map is empty.
    CErrorResult apply(const CByteBuffer& record);
    /// Null for a controller without a parameter.
    CAudioExtParam* getParam(int controller) const;

private:
    class CListener : public CAppDataListener<CAudioCCTable> {
    public:
        using CAppDataListener<CAudioCCTable>::CAppDataListener;
        void onUpdate(const CUpdateRecord*) override {} // the table is read at start-up alone
    };

    mutable platform::CLock lock;
    CAudioExtParam* table[kControllerCount] = {}; // under the lock
    CListener listener;
};

} // namespace lum
