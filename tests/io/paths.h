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

// What the operation throws: the one word of the message that tells most and the codes of both layers, as
// "open 2 notFound"; tag and token of an internal error, as "(fs: seek 131)."; "" for nothing.
template <class Operation>
std::string FailureOf(Operation operation, std::string* message = nullptr)
{
    try {
        operation();
        return "";
    } catch (const Error& error) {
        const std::string text = NarrowString(error.GetLayerText(0).c_str()).c_str();
        if (message != nullptr)
            *message = text;
        if (error.GetLayerCode(0) == Error::internal)
            return text.substr(text.find('('));
        const std::size_t verb = std::string(text.starts_with("Cannot") ? "Cannot " : "Failed to ").size();
        return text.substr(verb, text.find(' ', verb) - verb) + " " + std::to_string(error.GetLayerCode(1))
            + (error.GetLayerCode(0) == Error::notFound ? " notFound"
                                                        : " " + std::to_string(error.GetLayerCode(0)));
    }
}
