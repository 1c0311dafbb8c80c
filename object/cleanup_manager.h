// The process's list of things that can tidy themselves up.
#pragma once

#include <tessel/base/critical_section.h>
#include <tessel/object/cleanup.h>

#include <atomic>
#include <list>

namespace Cleanup {

class ManagerImpl : public Face<Manager> {
public:
    void Cleanup(bool force) override;
    void AddItem(Item* item) override;

private:
    bool RunPass(bool force);

    std::list<WeakPtr<Item>> items; // in the order of adding
    CriticalSection section; // guards `items`; no item is called under it
    std::atomic<bool> running{false};
};

} // namespace Cleanup
