#include "object/cleanup_manager.h"

#include <tessel/module.h>
#include <tessel/object/global.h>

#include <vector>

namespace Cleanup {

FacePtr<Manager> Manager::Get()
{
    return ImplGlobal<ManagerImpl, Module>::Get();
}

void ManagerImpl::AddItem(Item* item)
{
    const SectionLock lock(section);
    items.emplace_back(FacePtr<Item>(item));
}

void ManagerImpl::Cleanup(bool force)
{
    if (running.exchange(true))
        return;
    struct Finish { // also when an item throws
        std::atomic<bool>& flag;
        ~Finish() { flag = false; }
    } const finish{running};
    // One pass can make work for the next: a module that leaves kills entries of maps, and may have been the
    // last to hold another module.
    while (RunPass(force) && force) { }
}

bool ManagerImpl::RunPass(bool force)
{
    std::vector<FacePtr<Item>> living;
    {
        const SectionLock lock(section);
        living.reserve(items.size());
        for (auto item = items.begin(); item != items.end();) {
            if (FacePtr<Item> held = item->Lock()) {
                living.push_back(std::move(held));
                ++item;
            } else {
                item = items.erase(item);
            }
        }
    }
    bool changed = false;
    for (const FacePtr<Item>& item : living)
        changed = item->Cleanup(force) || changed;
    return changed;
}

} // namespace Cleanup
