#include "object/loader.h"

#include "object/cache_file.h"
#include "object/library_impl.h"
#include "object/registration_cache.h"
#include "platform/files.h"
#include "platform/modules.h"
#include "platform/text.h"
#include <tessel/module.h>
#include <tessel/object/manager.h>

#include <algorithm>
#include <string_view>

namespace Object {

namespace {

constexpr const char16_t* cacheName = u"autoreg.dat";

// The path of the library up to and including its last backslash; empty if it has none.
WideString OwnFolder()
{
    constexpr std::uint32_t characters = 32768;
    WideString path;
    char16_t* const target = path.CtorPrepareWriting(characters * sizeof(char16_t));
    if (target == nullptr)
        return {};
    *target = 0;
    const auto self = static_cast<Platform::Module>(reinterpret_cast<std::uintptr_t>(Module::GetInstance()));
    Platform::GetModuleFileNameW(self, target, characters);
    const std::u16string_view text(target);
    return {target, target + text.rfind(u'\\') + 1};
}

bool EndsInDll(std::u16string_view name)
{
    const std::size_t dot = name.rfind(u'.');
    return dot != std::u16string_view::npos && Platform::_wcsicmp(name.data() + dot, u".dll") == 0;
}

// Whether the name is one that a listing can give: no path, and no pattern.
bool IsPlainName(const WideString& name)
{
    return std::u16string_view(name.c_str()).find_first_of(u"\\/*?") == std::u16string_view::npos;
}

} // namespace

Loader::Loader() : creator(Clsid(libraryCreatorClass))
{
    const WideString folder = OwnFolder();
    if (!folder.IsEmpty()) // else the path is not to be had, and the working folder is none of ours
        Scan(folder);
}

void Loader::Scan(const WideString& folder)
{
    bool dirty = !ReadCache(folder);
    dirty = AddNewFiles(folder) || dirty;
    if (dirty)
        WriteCacheFile(folder, cacheName, FormatCache(DescribeLibraries(folder)));
    const FacePtr<Manager> manager{Clsid(managerClass)};
    for (const auto& [name, library] : libraries)
        if (library)
            manager->AddFactory(library.Cast<Factory>("tessel"));
}

// Takes over, their lists too, the records whose files are unchanged, the last one where a name stands
// repeatedly. False if there is no sound cache.
bool Loader::ReadCache(const WideString& folder)
{
    auto records = ParseCache(ReadCacheFile(folder + cacheName));
    if (!records)
        return false;
    struct File {
        WideString stamp;
        CacheRecord* record = nullptr;
    };
    std::map<WideString, File> files;
    for (CacheRecord& record : *records) {
        if (!IsPlainName(record.name))
            continue;
        const auto [entry, isNew] = files.try_emplace(record.name);
        File& file = entry->second;
        if (isNew)
            file.stamp = creator->GetStamp(folder + record.name);
        // A file that is gone has the empty stamp, and so might a record.
        if (!file.stamp.IsEmpty() && file.stamp == record.stamp)
            file.record = &record;
    }
    for (const auto& [name, file] : files) {
        if (file.record == nullptr)
            continue;
        CacheRecord& record = *file.record;
        libraries.emplace_hint(libraries.end(), name,
            record.isModule
                ? LibraryImpl::CreateCached(folder + name, std::move(record.classes), std::move(record.types))
                : nullptr);
    }
    return true;
}

// True if a file of the folder was not known yet. The search pattern is generous; the ending decides.
bool Loader::AddNewFiles(const WideString& folder)
{
    bool found = false;
    Platform::WIN32_FIND_DATAW file;
    const Platform::Handle search =
        Platform::FindFirstFileExW((folder + u"*.dll").c_str(), Platform::FindExInfoBasic, &file);
    if (search == Platform::INVALID_HANDLE_VALUE)
        return false;
    struct Closer {
        Platform::Handle handle;
        ~Closer() { Platform::FindClose(handle); }
    } const closer{search};
    do {
        const WideString name(file.cFileName);
        if (!EndsInDll(name.c_str()) || libraries.contains(name))
            continue;
        libraries[name] = creator->Create(folder + name);
        found = true;
    } while (Platform::FindNextFileW(search, &file));
    return found;
}

// Stamps are taken now and not when the file was loaded, as it may have changed meanwhile. A library that
// would not be read as it is written is left out, and loaded again by the next process.
std::vector<CacheRecord> Loader::DescribeLibraries(const WideString& folder) const
{
    std::vector<CacheRecord> records;
    for (const auto& [name, library] : libraries) {
        CacheRecord record{name, creator->GetStamp(folder + name), static_cast<bool>(library), {}, {}};
        if (library) {
            library->ListTypes(record.types);
            library->ListClasses(record.classes);
        }
        if (IsStorable(record))
            records.push_back(std::move(record));
    }
    return records;
}

} // namespace Object
