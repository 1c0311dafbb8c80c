// "CID_Mt::CurrentThreadImpl": one object without state for the whole process.
#pragma once

#include <tessel/mt/current_thread.h>
#include <tessel/object/factory.h>

namespace Mt {

class CurrentThreadFactory : public Face<CurrentThreadImpl, Object::StaticFactory> {
public:
    FacePtr<Thread> GetThread() override;
    void Yield() override;
    FacePtr<Thread> CreateThread(const FacePtr<Runnable>& runnable, std::uint32_t reserved) override;
    void SetLocal(const WideString& key, const FacePtr<BaseFace>& value) override;
    FacePtr<BaseFace> GetLocal(const WideString& key) override;
    FacePtr<InterrupterRegistration> RegisterInterrupter(const FacePtr<Interrupter>& interrupter) override;
    void ClearInterrupt() override;
    void CheckInterrupted() override;

    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override;
    void ListClasses(Object::ClassInfoList& out) override;
};

} // namespace Mt
