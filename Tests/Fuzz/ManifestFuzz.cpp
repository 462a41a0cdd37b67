#include "FuzzTargets.h"
#include "TavrinKit/Project/ProjectPackage.h"
#include "TavrinKit/Project/ProjectPackageValidationError.h"

namespace tavrin::fuzz {

void fuzzManifest(std::string_view input) {
    try {
        static_cast<void>(ProjectPackage::schemaVersionInManifestData(input));
        const auto manifest = decodeDocument<ProjectManifest>(input);
        requireRoundTrip(manifest);
        ProjectPackage::validateManifest(manifest, {1, 2});
        const ProjectPackage package("/root", manifest);
        for (const auto& path : {package.screenURL(), package.eventsURL(), package.editsURL()}) {
            require(path.parent_path() == "/root", "a file stays in its package");
            require(path.filename() != "..", "a file stays in its package");
        }
    } catch (const JsonError&) {
    } catch (const ProjectPackageValidationError&) {
    }
}

} // namespace tavrin::fuzz
