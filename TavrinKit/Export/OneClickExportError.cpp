#include "TavrinKit/Export/OneClickExportError.h"

namespace tavrin {

OneClickExportError OneClickExportError::unsupportedPreset(const std::string& reason) {
    return {OneClickExportErrorKind::unsupportedPreset, reason};
}

} // namespace tavrin
