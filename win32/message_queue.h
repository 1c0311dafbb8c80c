// "CID_Gui::MessageQueue".
#pragma once

#include <tessel/object/class_factory.h>
#include <tessel/win32/message_queue.h>

namespace Gui {

class MessageQ : public Face<MessageQueue, Mt::Win32::BlockerInfo> {
public:
    static constexpr const char16_t* clsid = messageQueueClass;

    // Makes the queue of the calling thread.
    MessageQ();

    void Block() override;
    bool HasMessage() override;
    void GetMessage(Mt::Win32::SystemMessage& out) override;
    void GetWaitInfo(::Handle& handle, std::uint32_t& timeout, Mt::Win32::MessageSlot& messageSlot) override;

private:
    bool Fetch();

    Mt::Win32::SystemMessage message{}; // the last one fetched
    bool received = false; // and not yet collected
};

using MessageQueueFactory = Object::ClassFactory<MessageQ>;

} // namespace Gui
