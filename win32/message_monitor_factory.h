// "CID_Win32::MessageMonitor": the monitor of the process.
#pragma once

#include "object/weak_map.h"
#include "platform/windows.h"
#include <tessel/object/factory.h>
#include <tessel/win32/message_monitor.h>

#include <vector>

namespace Mt {
class ThreadImpl;
}

namespace Win32 {

class MessageMonitorImpl : public Face<MessageMonitor> {
public:
    class WindowThread; // window_thread.h

    MessageMonitorImpl() = default;
    ~MessageMonitorImpl();
    MessageMonitorImpl(const MessageMonitorImpl&) = delete;
    MessageMonitorImpl& operator=(const MessageMonitorImpl&) = delete;

    // The start: what it throws leaves no monitor.
    void OnFirstReference();

    void AddObserver(std::uint32_t message, const FacePtr<Observer>& observer) override;
    ::Handle GetWindow() override;

    std::vector<FacePtr<Observer>> GetObservers(std::uint32_t message);

private:
    FacePtr<Mt::ThreadImpl> thread; // null if it could not be made
    Platform::HWND window = Platform::NULL_HANDLE;
    WeakMultiMap<std::uint32_t, Observer> observers; // by the number of their messages
};

class MessageMonitorFactory : public Face<Object::StaticFactory> {
public:
    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override;
    void ListClasses(Object::ClassInfoList& out) override;
};

} // namespace Win32
