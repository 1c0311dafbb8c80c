// Paths in tests, made through the factory.
#pragma once

#include "io/fs/path_factory_impl.h"
#include <tessel/base/error.h>
#include <tessel/module.h>
#include <tessel/object/impl.h>

#include <string>

inline FacePtr<Io::Path> MakePath(Io::PathType type, const Value& value, bool quiet = false)
{
    return MakeFace<Impl<Io::Fs::PathFactoryImpl, Module>>()->CreatePath(type, value, quiet);
}

inline FacePtr<Io::Path> PathOf(const std::u16string& text)
{
    Value value;
    value = WideString(text.c_str());
    return MakePath(Io::PathType::Absolute, value);
}

inline std::u16string TextOf(const FacePtr<Io::Path>& path)
{
    return path ? path->GetString().c_str() : u"null";
}

inline std::string Narrow(const std::u16string& text)
{
    return NarrowString(text.c_str()).c_str();
}

// What the operation throws, from the newest layer on, as "text code code"; "internal (...)" for an internal
// error,
// "" for none.
template <class Operation>
std::string FailureOf(Operation operation)
{
    try {
        operation();
        return "";
    } catch (const Error& error) {
        std::string failure = NarrowString(error.GetLayerText(0).c_str()).c_str();
        if (error.GetLayerCode(0) == Error::internal)
            return failure.replace(0, std::string("An internal error occured").size(), "internal");
        for (std::uint32_t i = error.GetLayerCount(); i-- > 0;) {
            const std::uint32_t code = error.GetLayerCode(i);
            failure += code == Error::notFound ? " notFound" : " " + std::to_string(code);
        }
        return failure;
    }
}

// The same with the one word of the message that tells most: "open", "remove" and so on.
inline std::string Short(const std::string& failure)
{
    const std::size_t verb = failure.find(failure.starts_with("Failed to") ? "to " : "Cannot ");
    if (verb == failure.npos)
        return failure;
    const std::size_t begin = failure.find(' ', verb) + 1;
    return failure.substr(begin, failure.find(' ', begin) - begin) + failure.substr(failure.rfind("'.") + 2);
}
