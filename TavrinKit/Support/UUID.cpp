#include "TavrinKit/Support/UUID.h"

#include <uuid/uuid.h>

namespace tavrin {

UUID UUID::make() {
    UUID id;
    uuid_generate_random(id.bytes.data());
    return id;
}

std::optional<UUID> UUID::parse(std::string_view text) {
    UUID id;
    if (text.size() != 36 || uuid_parse(std::string(text).c_str(), id.bytes.data()) != 0) {
        return std::nullopt;
    }
    return id;
}

std::string UUID::string() const {
    std::string text(37, '\0');
    uuid_unparse_lower(bytes.data(), text.data());
    text.resize(36);
    return text;
}

} // namespace tavrin
