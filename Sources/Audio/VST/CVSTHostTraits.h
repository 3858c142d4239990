#pragma once

#include "Core/CString.h"

namespace lum {

/// What the plug-in does differently in some hosts. Host names are compared in upper case.
struct CVSTHostTraits {
    bool isMultiChannel = true;    // may have more than two channels each way
    bool needsSyncLock = false;    // calls suspend, resume and process at the same time
    bool allowsLabelImport = true; // its speaker names may adapt the default routing
    bool takesFocusOnClick = true; // a click in the editor takes the keyboard focus

    /// version: of the host's interface, 2400 for 2.4. product, vendor: as the host gives them.
    static CVSTHostTraits of(int32_t version, const CString& product, const CString& vendor);
};

/// "*" stands for any run of characters, also none, "?" for one; all others for themselves.
bool matchesPattern(const CString& text, const char* pattern);

} // namespace lum
