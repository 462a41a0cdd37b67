#include "TavrinKit/Compositing/OverlayPicture.h"

#include <cmath>
#include <exception>

#include "TavrinKit/Compositing/BackgroundAssetRenderer.h"
#include "TavrinKit/Media/StillImageReader.h"
#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Support/Log.h"

namespace tavrin {

std::optional<Image> watermarkImage(const std::optional<std::string>& path,
                                    const std::optional<std::filesystem::path>& packageRoot,
                                    double longerSide, std::string_view service) {
    const auto url = BackgroundAssetRenderer::resolvedImageURL(path.value_or(""), packageRoot);
    if (!url) {
        return {};
    }
    try {
        StillImageLimits limits;
        limits.longerSide = int(clampedTo(std::ceil(2 * longerSide), 64, limits.longerSide));
        return Image::pixels(readStillImage(*url, limits));
    } catch (const std::exception&) {
        logRecoverableFailure(service, "watermarkImage", std::current_exception(), {{"path", url->string()}});
        return {};
    }
}

} // namespace tavrin
