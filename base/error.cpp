#include <tessel/base/error.h>

#include "base/error_messages.h"
#include "base/error_record.h"
#include "base/text_builder.h"

#include <memory>
#include <new>
#include <utility>

namespace {

// For texts that are never empty: then memory gave out.
WideString Checked(WideString message)
{
    if (message.IsEmpty())
        throw std::bad_alloc();
    return message;
}

WideString Widened(const char* text)
{
    return text != nullptr && *text != 0 ? Checked(WideString(text)) : WideString();
}

WideString InternalErrorText(const char16_t* tag, const char16_t* message)
{
    return Checked(WideString::FromFormat(LookUp(internalErrorMessage), tag, message));
}

// The text of a layer that came without one.
WideString TextOfCode(std::uint32_t code)
{
    switch (code) {
    case Error::cancelled:
        return InternalErrorText(u"error", u"user-cancel-display");
    case Error::interrupted:
        return InternalErrorText(u"error", u"interrupt-display");
    case Error::badFormat:
        return Checked(LookUp(dataFormatMessage));
    default:
        return {};
    }
}

} // namespace

Error::Error(const Error& other) noexcept : record(other.record)
{
    if (record != nullptr)
        record->refCount.fetch_add(1, std::memory_order_relaxed);
}

Error::Error(Error&& other) noexcept : record(std::exchange(other.record, nullptr)) { }

Error::~Error()
{
    if (record != nullptr && record->refCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete record;
}

Error& Error::operator=(const Error& other) noexcept // NOLINT(bugprone-unhandled-self-assignment)
{
    Error copy(other);
    std::swap(record, copy.record);
    return *this;
}

Error& Error::operator=(Error&& other) noexcept
{
    std::swap(record, other.record);
    return *this;
}

void Error::MakeWritable(bool keepContents)
{
    if (record != nullptr && !record->IsShared())
        return;
    auto fresh = std::make_unique<Record>();
    if (keepContents && record != nullptr) {
        fresh->version = record->version;
        fresh->data = record->data;
        fresh->layers = record->layers;
        fresh->details = record->details;
        fresh->shownLayer = record->shownLayer;
    }
    Error replaced;
    replaced.record = std::exchange(record, fresh.release());
}

void Error::AddLayer(std::uint32_t code, const WideString& text, bool show)
{
    MakeWritable(true);
    if (code == sameCode && !record->layers.empty())
        code = record->layers.back().code;
    record->layers.push_back({code, text.IsEmpty() ? TextOfCode(code) : text});
    if (show)
        record->shownLayer = static_cast<std::uint32_t>(record->layers.size() - 1);
}

void Error::AddInternalErrorLayer(const char* format, std::uint32_t code, const char* tag, ...)
{
    std::va_list list;
    va_start(list, tag);
    AddInternalErrorLayerV(format, code, tag, list);
    va_end(list);
}

void Error::AddInternalErrorLayerV(const char* format, std::uint32_t code, const char* tag, std::va_list list)
{
    const WideString wideFormat = Widened(format);
    WideString message;
    message.PrintfV(wideFormat.c_str(), list);
    if (message.GetCapacity() < wideFormat.GetSize()) // the least that it takes, also for an empty text
        throw std::bad_alloc();
    AddLayer(code, InternalErrorText(Widened(tag).c_str(), message.c_str()), true);
}

void Error::Clear() noexcept
{
    if (record == nullptr || record->layers.empty())
        return;
    if (record->IsShared()) {
        *this = Error();
        return;
    }
    record->layers.clear();
    record->details.Clear();
    record->shownLayer = Record::noLayer;
}

bool Error::TranslateIndex(std::uint32_t& index) const noexcept
{
    if (index >= GetLayerCount())
        return false;
    index = GetLayerCount() - index - 1;
    return true;
}

std::uint32_t Error::GetLayerCount() const noexcept
{
    return record != nullptr ? static_cast<std::uint32_t>(record->layers.size()) : 0;
}

std::uint32_t Error::GetLayerCode(std::uint32_t index) const noexcept
{
    return TranslateIndex(index) ? record->layers[index].code : 0;
}

WideString Error::GetLayerText(std::uint32_t index) const noexcept
{
    return TranslateIndex(index) ? record->layers[index].text : WideString();
}

bool Error::HasCode(std::uint32_t code) const noexcept
{
    for (std::uint32_t i = 0; i < GetLayerCount(); ++i)
        if (record->layers[i].code == code)
            return true;
    return false;
}

WideString Error::GetDetails() const noexcept
{
    return record != nullptr ? record->details : WideString();
}

void Error::SetDetails(const WideString& details)
{
    MakeWritable(true);
    record->details = details;
}

WideString Error::Format() const
{
    if (record == nullptr)
        return {};
    // An index from an archive may point nowhere.
    const std::uint32_t shown = record->shownLayer < GetLayerCount() ? record->shownLayer : Record::noLayer;
    WideString result = GetLayerText(0);
    if (result.IsEmpty() && shown == Record::noLayer) {
        const std::uint32_t code = GetLayerCode(0);
        if (code == 0 || code == cancelled)
            return result;
        result = Checked(WideString::FromPrintf(u"%08x", code));
    }
    const bool showsAnother = shown != Record::noLayer && shown != GetLayerCount() - 1;
    if (!showsAnother && record->details.IsEmpty())
        return result;
    TextBuilder text;
    text.Add(result);
    if (showsAnother)
        text.Add(u'\n').Add(record->layers[shown].text);
    if (!record->details.IsEmpty())
        text.Add(text.GetLength() == 0 ? u"\n" : u"\n\n").Add(record->details);
    return text.Take();
}
