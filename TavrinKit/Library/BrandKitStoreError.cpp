#include "TavrinKit/Library/BrandKitStoreError.h"

namespace tavrin {

BrandKitStoreError BrandKitStoreError::presetNotFound() {
    return {BrandKitStoreErrorKind::presetNotFound, "Brand kit preset was not found."};
}

BrandKitStoreError BrandKitStoreError::invalidPresetName() {
    return {BrandKitStoreErrorKind::invalidPresetName, "Brand kit preset name is required."};
}

} // namespace tavrin
