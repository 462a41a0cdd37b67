#include "TavrinKit/Support/Error.h"

#include <cstdlib>
#include <memory>
#include <typeinfo>

#include <cxxabi.h>

namespace tavrin {
namespace {

std::string typeName(const std::type_info& type) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
    return name ? name.get() : type.name();
}

} // namespace

std::string sentenceOf(const std::exception_ptr& error) {
    if (!error) {
        return "Unknown error.";
    }
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& exception) {
        return exception.what();
    } catch (...) {
        return "Unknown error.";
    }
}

std::string describe(const std::exception_ptr& error) {
    if (!error) {
        return "none";
    }
    try {
        std::rethrow_exception(error);
    } catch (const Error& exception) {
        std::string text = typeName(typeid(exception)) + ": " + exception.what();
        if (exception.underlying()) {
            text += " <- " + describe(exception.underlying());
        }
        return text;
    } catch (const std::exception& exception) {
        return typeName(typeid(exception)) + ": " + exception.what();
    } catch (...) {
        return "unknown exception";
    }
}

} // namespace tavrin
