// Properties: a bag of named, typed values. MemoryProperties keeps them in memory, PersistentProperties in
// the registry; Export, Import, Merge and IsSubsetOf work with any bag and between any two.
//
// Whether names differ by case alone is the bag's affair. A bag is for one thread at a time, and nothing here
// is one step: a bag that others change meanwhile can list a name and then fail to give its value.
#pragma once

#include <tessel/base/archive.h>
#include <tessel/base/handle.h>

#include <vector>

class TESSEL_API Properties {
public:
    enum class PropertyType : std::uint32_t {
        none = 0, // there is no such property
        number = 1,
        string = 2,
        binary = 3,
        face = 4, // of a Value only
        handle = 5,
    };

    // With a default: that, where there is no such property or it has another type. Without: an internal
    // Error then.
    virtual WideString GetString(const WideString& name, const WideString& defaultValue) const = 0;
    virtual WideString GetString(const WideString& name) const = 0;
    virtual std::uint32_t GetNumber(const WideString& name, std::uint32_t defaultValue) const = 0;
    virtual std::uint32_t GetNumber(const WideString& name) const = 0;
    virtual Binary GetBinary(const WideString& name, const Binary& defaultValue) const = 0;
    virtual Binary GetBinary(const WideString& name) const = 0;
    virtual Handle GetHandle(const WideString& name, Handle defaultValue) const = 0;
    virtual Handle GetHandle(const WideString& name) const = 0;
    // Whatever had the name before is replaced, of whatever type it was.
    virtual void SetString(const WideString& name, const WideString& value) = 0;
    virtual void SetNumber(const WideString& name, std::uint32_t value) = 0;
    virtual void SetBinary(const WideString& name, const Binary& value) = 0;
    virtual void SetHandle(const WideString& name, Handle value) = 0;
    // Without such a property nothing happens.
    virtual void Delete(const WideString& name) = 0;
    virtual PropertyType GetType(const WideString& name) const = 0;
    virtual std::vector<WideString> EnumProperties() const = 0;
    // Deletes all properties.
    virtual void Clear() = 0;
    virtual ~Properties();

    // The bag as an archive; the empty Binary for an empty bag.
    Binary Export() const;
    // Adds what was exported, replacing equal names. The empty Binary adds nothing. Throws Error::badFormat,
    // or what a setter throws; what was read before that stays.
    void Import(const Binary& exported);
    // Copies from another bag: the properties whose names are listed, or with `exclude` all others. Names are
    // compared exactly, whatever the bags do.
    void Merge(const Properties& source, const std::vector<WideString>& names, bool exclude);
    // Whether the other bag has every property of this one, with the same type and value. caseSensitive is
    // for the values that are strings.
    bool IsSubsetOf(const Properties& other, bool caseSensitive) const;

protected:
    Properties() = default;
    Properties(const Properties&) = default;
    Properties& operator=(const Properties&) = default;
};

// The number 0x80000001, the count, and for each property its name, its type and its value. Reading adds to
// the bag, as Import does.
TESSEL_API WriteArchive& operator<<(WriteArchive& archive, const Properties& properties);
TESSEL_API ReadArchive& operator>>(ReadArchive& archive, Properties& properties);
