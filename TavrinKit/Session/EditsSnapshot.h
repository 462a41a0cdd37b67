#pragma once

#include <memory>
#include <vector>

#include "TavrinKit/Project/EditsDocument.h"

namespace tavrin {

/// A document as the undo history keeps it: the same to the bit, but sharing with its neighbour in the
/// history the annotations that both have. They are by far the largest part of a large document, and a step
/// changes few of them.
///
/// Immutable, and cheap to copy.
class EditsSnapshot {
public:
    /// @param neighbour  what the annotations are looked for in, by their places; may be null
    EditsSnapshot(const EditsDocument& document, const EditsSnapshot* neighbour);

    [[nodiscard]] EditsDocument document() const;

private:
    using Annotations = std::vector<std::shared_ptr<const AnnotationRegion>>;

    std::shared_ptr<const EditsDocument> rest_; ///< without annotations
    std::shared_ptr<const Annotations> annotations_;
};

} // namespace tavrin
