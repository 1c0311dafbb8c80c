// What the module lamps.dll offers: whoever uses it compiles against this header and links nothing of it.
#pragma once

#include <tessel/object/face.h>

#include <cstdint>

namespace Lamps {

struct Lamp : Face<> {
    static constexpr Iid iid = u"IID_Lamps::Lamp"_iid;

    virtual void Switch(bool on) = 0;
    virtual bool IsOn() = 0;
};

struct Dimmer : Face<> {
    static constexpr Iid iid = u"IID_Lamps::Dimmer"_iid;

    // In percent of the full light; more than 100 counts as 100.
    virtual void SetLevel(std::uint32_t percent) = 0;
    virtual std::uint32_t GetLevel() = 0;
};

constexpr const char16_t* deskLampClass = u"CID_Lamps::DeskLamp"; // a Lamp with a Dimmer
constexpr const char16_t* lanternClass = u"CID_Lamps::Lantern"; // a Lamp

} // namespace Lamps
