// A change of a key, or of the list of its subkeys: one at a time over all threads and processes, and told to
// readers by the key's stamp. Whoever needs two at a time begins with the one nearer to the root.
//
// The lock is the kernel's, on a file that only who may write can open: it ends with its holder, however that
// ends, and no reader can keep writers waiting.
#pragma once

#include "platform/linux/registry/key_folder.h"

namespace Platform::Registry {

class Change {
public:
    // The folder must stay until the change is over.
    explicit Change(KeyFolder& changed) noexcept : key(changed) { }
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;
    ~Change();

    // Waits for the lock. ERROR_KEY_DELETED if the key is not alive.
    Code Begin() noexcept;

    // To be called before anything is changed. `names` says that a value or a subkey comes or goes.
    Code Announce(bool names) noexcept;

    // The key died by this change: its stamp is not to become even again.
    void LeaveOpen() noexcept { announced = false; }

    // What readers saw before the change and what they will see after it.
    const Stamp& Before() const noexcept { return before; }
    Stamp After() const noexcept { return {now.sequence + 1, now.names + now.names % 2, true}; }

private:
    Code TakeLock() noexcept;
    bool Write(const Stamp& stamp) noexcept;

    KeyFolder& key;
    Stamp before;
    Stamp now;
    bool locked = false;
    bool announced = false;
};

} // namespace Platform::Registry
