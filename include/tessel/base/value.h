// Value: nothing, a number, a string, a Binary, a face or a Handle.
//
// Copies share what is counted: the characters, the bytes, the object. One Value is for one thread at a time.
#pragma once

#include <tessel/base/properties.h>
#include <tessel/object/face_ptr.h>

#include <memory>
#include <type_traits>
#include <utility>

class Value {
public:
    using Type = Properties::PropertyType;

    Value() noexcept { }
    Value(const Value& other) noexcept { CopyFrom(other); }
    ~Value() { Reset(); }

    Value& operator=(const Value& other) noexcept
    {
        // other may be this, or live by what this lets go
        const Value copy(other); // NOLINT(performance-unnecessary-copy-initialization)
        Reset();
        CopyFrom(copy);
        return *this;
    }
    Value& operator=(std::uint32_t value) noexcept { return Set(number, Type::number, value); }
    Value& operator=(const WideString& value) noexcept { return Set(string, Type::string, value); }
    Value& operator=(const Binary& value) noexcept { return Set(binary, Type::binary, value); }
    Value& operator=(const FacePtr<BaseFace>& value) noexcept { return Set(face, Type::face, value); }
    Value& operator=(Handle value) noexcept { return Set(handle, Type::handle, value); }
    // Becomes nothing.
    void Reset() noexcept;

    Type GetType() const noexcept { return type; }
    // Throw "bad val type %d", with the type that was asked for, where the Value has another one.
    std::uint32_t GetNumber() const { return Checked(number, Type::number); }
    const WideString& GetString() const { return Checked(string, Type::string); }
    const Binary& GetBinary() const { return Checked(binary, Type::binary); }
    const FacePtr<BaseFace>& GetFace() const { return Checked(face, Type::face); }
    Handle GetHandle() const { return Checked(handle, Type::handle); }

private:
    [[noreturn]] TESSEL_API static void ThrowBadType(Type asked);

    template <class Payload>
    const Payload& Checked(const Payload& payload, Type asked) const
    {
        if (type != asked)
            ThrowBadType(asked);
        return payload;
    }

    template <class Payload>
    Value& Set(Payload& payload, Type newType, const Payload& value) noexcept
    {
        if (type == newType) {
            payload = value;
            return *this;
        }
        if (type == Type::string || type == Type::binary || type == Type::face) {
            Payload taken = value; // it may live in what is let go
            Reset();
            std::construct_at(&payload, std::move(taken));
        } else {
            std::construct_at(&payload, value);
        }
        type = newType;
        return *this;
    }

    void CopyFrom(const Value& other) noexcept;

    Type type = Type::none;
    union {
        std::uint32_t number;
        WideString string;
        Binary binary;
        FacePtr<BaseFace> face;
        Handle handle;
    };
};
static_assert(sizeof(Value) == 16);

// The type as a 32-bit number, then the number, string, Binary or 64-bit Handle. A face writes its type
// alone, and that is refused in reading: faces do not travel. A Value that fails to be read stays as it was.
TESSEL_API WriteArchive& operator<<(WriteArchive& archive, const Value& value);
TESSEL_API ReadArchive& operator>>(ReadArchive& archive, Value& value);

inline void Value::Reset() noexcept
{
    switch (std::exchange(type, Type::none)) {
    case Type::string:
        std::destroy_at(&string);
        break;
    case Type::binary:
        std::destroy_at(&binary);
        break;
    case Type::face: {
        // The last release may call back and look at this Value: it has let go by then.
        const FacePtr<BaseFace> dropped = std::move(face);
        std::destroy_at(&face);
        break;
    }
    default:
        break;
    }
}

inline void Value::CopyFrom(const Value& other) noexcept
{
    switch (other.type) {
    case Type::number:
        std::construct_at(&number, other.number);
        break;
    case Type::string:
        std::construct_at(&string, other.string);
        break;
    case Type::binary:
        std::construct_at(&binary, other.binary);
        break;
    case Type::face:
        std::construct_at(&face, other.face);
        break;
    case Type::handle:
        std::construct_at(&handle, other.handle);
        break;
    default:
        break;
    }
    type = other.type;
}
