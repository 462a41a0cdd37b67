#include "TavrinKit/Platform/X11/X11PictureSource.h"

#include <utility>

#include "TavrinKit/Platform/X11/X11DisplayPictureSource.h"
#include "TavrinKit/Platform/X11/X11WindowPictureSource.h"

namespace tavrin {

std::unique_ptr<X11PictureSource> X11PictureSource::make(const X11Connection& connection,
                                                         const ContentFilter& filter,
                                                         const StreamConfiguration& configuration,
                                                         std::shared_ptr<const DesktopEntryIndex> entries) {
    if (const auto* window = std::get_if<ContentFilter::Window>(&filter.content)) {
        return std::make_unique<X11WindowPictureSource>(connection, *window, configuration);
    }
    return std::make_unique<X11DisplayPictureSource>(
        connection, std::get<ContentFilter::Display>(filter.content), configuration, std::move(entries));
}

} // namespace tavrin
