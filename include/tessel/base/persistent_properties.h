// PersistentProperties: a bag in the registry, shared by all processes of the machine or of one user.
//
// A bag is a key below SOFTWARE, its properties are the key's values, and the bags in it are its subkeys.
// Numbers, strings and bytes can be stored; a value of any other kind is passed over by the lists, counts as
// missing for GetType, and goes with the rest in Clear and DeleteBag. Names differ by more than case, and
// keep the form in which they were first set.
//
// Nothing is remembered but the open key: each get and each set goes to the registry, and a set outlives this
// process as soon as it returns. The key is opened when it is first needed, for reading as long as nobody
// writes; who may not write the machine's bags can read them. One object is for one thread at a time, reading
// too, as reading opens the key. Any number of objects and processes may use one bag.
//
// Failures are internal Errors with the tag "tessel", the full name of what was touched and the registry's
// code: 2 for a bag or property that is missing, 5 where access is denied, 1018 where somebody deleted the
// bag while it was open here (Open it again). Want of memory is std::bad_alloc.
#pragma once

#include <tessel/base/properties.h>

class TESSEL_API PersistentProperties : public Properties {
public:
    PersistentProperties() noexcept;
    PersistentProperties(const PersistentProperties&) = delete;
    PersistentProperties& operator=(const PersistentProperties&) = delete;
    ~PersistentProperties() override;

    // The forms with a default never fail: whatever goes wrong, they give the default.
    WideString GetString(const WideString& name, const WideString& defaultValue) const override;
    WideString GetString(const WideString& name) const override;
    std::uint32_t GetNumber(const WideString& name, std::uint32_t defaultValue) const override;
    std::uint32_t GetNumber(const WideString& name) const override;
    Binary GetBinary(const WideString& name, const Binary& defaultValue) const override;
    Binary GetBinary(const WideString& name) const override;
    // Handles are not stored: the default, and "pprop-gethandle-notsupp".
    Handle GetHandle(const WideString& name, Handle defaultValue) const override;
    Handle GetHandle(const WideString& name) const override;
    // The setters make the bag if it is missing, with all levels above it.
    void SetString(const WideString& name, const WideString& value) override;
    void SetNumber(const WideString& name, std::uint32_t value) override;
    void SetBinary(const WideString& name, const Binary& value) override;
    // Throws "pprop-sethandle-notimpl".
    void SetHandle(const WideString& name, Handle value) override;
    // These do nothing to a bag that is missing.
    void Delete(const WideString& name) override;
    PropertyType GetType(const WideString& name) const override;
    std::vector<WideString> EnumProperties() const override;
    // Deletes all values and no bag.
    void Clear() override;

    // Turns to another bag: a path below SOFTWARE, levels split by backslashes, of the machine or of the
    // current user. Touches nothing; the same bag once more keeps its key open.
    void Open(const WideString& bagPath, bool currentUser);
    // Whether the bag cannot be opened, for whatever reason.
    bool IsBagNew() const noexcept;
    // The names of the bags in this one.
    std::vector<WideString> EnumBags() const;
    // Deletes the bag with all that is in it, if it is there.
    void DeleteBag();

private:
    enum class OnFailure { giveNull, giveNullIfMissing, raise };

    TESSEL_HIDDEN std::uint64_t AccessKey(bool forWriting, OnFailure onFailure) const;
    TESSEL_HIDDEN std::uint64_t Root() const noexcept;
    TESSEL_HIDDEN void CloseKey() const noexcept;
    TESSEL_HIDDEN WideString FullName(const WideString& name) const;
    TESSEL_HIDDEN void SetValue(
        const WideString& name, std::uint32_t type, const void* bytes, std::uint32_t size);

    mutable std::uint64_t key = 0; // 0: closed
    mutable bool keyWritable = false;
    bool machine = true; // not the current user's
    WideString path; // below the hive
};
static_assert(sizeof(PersistentProperties) == 4 * sizeof(void*));
