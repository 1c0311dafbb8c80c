// Streams in tests: what goes in and comes out, as short texts.
#pragma once

#include <tessel/base/error.h>
#include <tessel/io/sink.h>
#include <tessel/io/source.h>
#include <tessel/module.h>
#include <tessel/object/impl.h>

#include <deque>
#include <string>

inline Binary BinaryOf(const std::string& bytes)
{
    return {bytes.data(), static_cast<std::uint32_t>(bytes.size())};
}

inline std::string TextOf(const Binary& bytes)
{
    return bytes.IsEmpty() ? ""
                           : std::string(reinterpret_cast<const char*>(bytes.GetData()), bytes.GetSize());
}

// Hands out its blocks, and throws where one is "!".
struct ScriptedSource : Face<Io::Source> {
    bool IsAtEnd() override { return blocks.empty(); }
    Binary Read() override
    {
        const std::string block = blocks.empty() ? "" : blocks.front();
        if (!blocks.empty())
            blocks.pop_front();
        return block == "!" ? throw Error("scripted", "test") : BinaryOf(block);
    }

    std::deque<std::string> blocks;
};

// Notes the blocks that it is given, and "|" for a flush; throws at the one whose turn it is.
struct NotingSink : Face<Io::Sink> {
    void Write(const Binary& data) override
    {
        if (--untilFailure == 0)
            throw Error("scripted", "test");
        last = data;
        noted += TextOf(data) + " ";
    }
    void Flush() override { noted += "| "; }

    Binary last;
    std::string noted;
    int untilFailure = 0;
};
