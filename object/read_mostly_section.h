// A lock for what is read at every turn and hardly ever changed: readers on different processors touch
// different cache lines, and a writer takes all of them.
//
// Constant-initialised and never destroyed. A thread that writes may read and write again inside; one that
// reads must not write. Nothing is called out to while it is held, so it comes last in every order of locks.
#pragma once

#include "platform/kernel.h"
#include <tessel/base/critical_section.h>

class ReadMostlySection {
    struct alignas(64) Line {
        CriticalSection section;
    };

public:
    constexpr ReadMostlySection() noexcept = default;

    class [[nodiscard]] Reading {
    public:
        explicit Reading(ReadMostlySection& read) noexcept
            : section(read.lines[Platform::GetCurrentProcessorNumber() % lineCount].section)
        {
            section.Enter();
        }
        ~Reading() { section.Leave(); }
        Reading(const Reading&) = delete;
        Reading& operator=(const Reading&) = delete;

    private:
        CriticalSection& section;
    };

    class [[nodiscard]] Writing {
    public:
        explicit Writing(ReadMostlySection& written) noexcept : lines(written.lines)
        {
            for (Line& line : lines) // always in this order
                line.section.Enter();
        }
        ~Writing()
        {
            for (Line& line : lines)
                line.section.Leave();
        }
        Writing(const Writing&) = delete;
        Writing& operator=(const Writing&) = delete;

    private:
        Line (&lines)[8];
    };

private:
    static constexpr unsigned lineCount = 8;
    Line lines[lineCount];
};
