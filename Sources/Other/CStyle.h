#pragma once

#include "Core/CObject.h"

namespace lum {

/// `ui:style`: turns features of the colour scheme and a few global options into the attributes
/// that the interface's definition binds to. Fires `palette-updated` after each derivation.
/// Interface thread.
class CStyle : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult initContent() override;

    CErrorResult attrInput(const CAttrEntry& value);
    /// Event `dynamic-palette-updated`: derives all attributes anew.
    CErrorResult derive();

private:
    bool isLit(const char* colorPath, bool fallback) const;
    CErrorResult deriveFrames(bool isLarger, bool isMeterBordered);
    CErrorResult deriveOverlays(bool isFlat);
    CErrorResult setText(const char* name, const char* value);
    CErrorResult setReal(const char* name, double value);
    CErrorResult setBool(const char* name, bool value);
};

} // namespace lum
