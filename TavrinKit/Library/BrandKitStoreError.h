#pragma once

#include "TavrinKit/Support/Error.h"

namespace tavrin {

enum class BrandKitStoreErrorKind { presetNotFound, invalidPresetName };

/// Why an operation on brand kits was refused.
class BrandKitStoreError : public ErrorFamily<BrandKitStoreErrorKind> {
public:
    static BrandKitStoreError presetNotFound();
    static BrandKitStoreError invalidPresetName();

private:
    using ErrorFamily::ErrorFamily;
};

} // namespace tavrin
