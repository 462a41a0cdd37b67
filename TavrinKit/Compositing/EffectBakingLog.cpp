#include "TavrinKit/Compositing/EffectBakingLog.h"

#include <utility>

#include "TavrinKit/Media/MediaError.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {

void logEffectBakingRecoverableFailure(std::string_view context, const std::exception_ptr& error,
                                       LogMetadata metadata) {
    logRecoverableFailure("TavrinKit.FFmpegEffectBakingRenderer", context, error, std::move(metadata));
}

void logUselessFile(std::string_view context, const std::filesystem::path& path) {
    const std::exception_ptr error = std::current_exception();
    try {
        std::rethrow_exception(error);
    } catch (const MediaError&) {
    } catch (const FileError& failure) {
        if (failure.kind() != FileErrorKind::notFound) {
            throw;
        }
    }
    logEffectBakingRecoverableFailure(context, error, {{"path", path.string()}});
}

} // namespace tavrin
