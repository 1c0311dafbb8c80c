// A client module: two classes and the registration of the factory that makes their objects. There is no
// more to a module.
#include "lamps/lamp.h"

#include <tessel/object/class_factory.h>

#include <algorithm>

namespace {

class Lantern : public Face<Lamps::Lamp> {
public:
    static constexpr const char16_t* clsid = Lamps::lanternClass;

    void Switch(bool on) override { lit = on; }
    bool IsOn() override { return lit; }

private:
    bool lit = false;
};

// One object with two interfaces: either one leads to the other.
class DeskLamp : public Face<Lamps::Lamp, Lamps::Dimmer> {
public:
    static constexpr const char16_t* clsid = Lamps::deskLampClass;

    void Switch(bool on) override { lit = on; }
    bool IsOn() override { return lit && level > 0; }
    void SetLevel(std::uint32_t percent) override { level = std::min<std::uint32_t>(percent, 100); }
    std::uint32_t GetLevel() override { return level; }

private:
    bool lit = false;
    std::uint32_t level = 100;
};

const auto registration = Object::FactoryRegistration::Of<Object::ClassFactory<Lantern, DeskLamp>>("lamps");

} // namespace
