#include "TavrinKit/Platform/X11/X11PictureSource.h"

#include "TavrinKit/Platform/X11/X11DisplayPictureSource.h"
#include "TavrinKit/Platform/X11/X11Error.h"

namespace tavrin {

std::unique_ptr<X11PictureSource> X11PictureSource::make(const X11Connection& connection,
                                                         const ContentFilter& filter,
                                                         const StreamConfiguration& configuration) {
    if (const auto* display = std::get_if<ContentFilter::Display>(&filter.content)) {
        return std::make_unique<X11DisplayPictureSource>(connection, *display, configuration);
    }
    throw X11Error::unsupportedSource("A single window");
}

} // namespace tavrin
