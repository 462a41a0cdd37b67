#include "TavrinKit/Platform/X11/X11ExcludedWindows.h"

#include <algorithm>
#include <utility>

namespace tavrin {

X11ExcludedWindows::X11ExcludedWindows(const X11Connection& connection, CaptureApplicationExclusionRule rule,
                                       std::shared_ptr<const DesktopEntryIndex> entries)
    : rule_(std::move(rule)), owners_(connection, std::move(entries)) {}

bool X11ExcludedWindows::contains(std::uint32_t topLevel) const {
    const auto found = known_.find(topLevel);
    return found != known_.end() && found->second;
}

bool X11ExcludedWindows::isNamed(const X11WindowOwner& owner) const {
    return rule_.excludes(owner.bundleIdentifier, owner.processID) ||
           rule_.excludes({}, owner.connectedProcessID);
}

void X11ExcludedWindows::learn(const std::vector<std::uint32_t>& topLevels) {
    std::vector<std::uint32_t> unknown;
    std::ranges::copy_if(topLevels, std::back_inserter(unknown),
                         [this](std::uint32_t window) { return !isKnown(window); });
    if (unknown.empty()) {
        return;
    }
    const std::vector<X11WindowOwner> owners = owners_.of(owners_.clientsOf(unknown));
    std::vector<std::uint32_t> related;
    for (const X11WindowOwner& owner : owners) {
        related.push_back(owner.transientFor);
        related.push_back(owner.leader);
    }
    std::vector<X11WindowOwner> relatedOwners;
    if (std::ranges::any_of(related, [](std::uint32_t window) { return window != 0; })) {
        relatedOwners = owners_.of(related);
    } else {
        relatedOwners.resize(related.size());
    }
    // Menus and tooltips often say nothing but by which connection they came.
    for (const X11WindowOwner& owner : owners) {
        if (isNamed(owner) && owner.connectedProcessID != 0) {
            rule_.processIdentifiers.insert(owner.connectedProcessID);
        }
    }
    for (std::size_t i = 0; i < unknown.size(); ++i) {
        known_[unknown[i]] =
            isNamed(owners[i]) || isNamed(relatedOwners[2 * i]) || isNamed(relatedOwners[2 * i + 1]);
    }
}

} // namespace tavrin
