// Archives and bags beside what others use for settings.
//
//   BM_Export/<names>/<ours|cbor>                      a bag to bytes
//   BM_Import/<names>/<ours|cbor|qdatastream|boost>    the bytes to a new bag, and its end
//   BM_BagBuild/<names>/<ours|map|qt>                  a bag from names and values that are there, and its
//   end BM_BagGet/<names>/<ours|map|qt>                    one value by its name
//   BM_BagOverwrite/<names>/<ours|map|qt>              the same, replaced by one of the same type
//   BM_BagCopy/<names>/<ours|atomic>                   a copy and its end, beside adding and subtracting 1
//   BM_PersistentSet/<names>/<ours|sqlite>             a number that outlives the process
//   BM_PersistentGet/<names>/<ours|sqlite>             a number or text from the store
//
// "cbor" is nlohmann's json object through to_cbor and from_cbor; "map" is std::map of std::u16string and
// std::variant in an order blind to case (ASCII pairs only, which is cheaper than the platform's table); "qt"
// is QVariantMap, which compares exactly; "sqlite" is one table with a prepared statement for each operation,
// in WAL mode with synchronous NORMAL.
//
// Names are made of two or three words and a number, as settings have them, in random order, from a fixed
// seed. Of the values two fifths are numbers, two fifths texts of 4 to 40 letters, the rest bytes and
// handles.
#include "sqlite_table.h"
#include <tessel/base/memory_properties.h>
#include <tessel/base/persistent_properties.h>
#include <tessel/base/utf8.h>

#include <benchmark/benchmark.h>
#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/map.hpp>
#include <boost/serialization/split_free.hpp>
#include <boost/serialization/variant.hpp>
#include <boost/serialization/vector.hpp>
#include <boost/variant.hpp>
#include <nlohmann/json.hpp>
#include <QDataStream>
#include <QVariantMap>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

BOOST_SERIALIZATION_SPLIT_FREE(std::u16string)
namespace boost::serialization {
template <class Archive>
void save(Archive& archive, const std::u16string& text, unsigned)
{
    const std::uint32_t length = static_cast<std::uint32_t>(text.size());
    archive << length;
    archive.save_binary(text.data(), length * sizeof(char16_t));
}
template <class Archive>
void load(Archive& archive, std::u16string& text, unsigned)
{
    std::uint32_t length = 0;
    archive >> length;
    text.resize(length);
    archive.load_binary(text.data(), length * sizeof(char16_t));
}
} // namespace boost::serialization

namespace {

// ---- What everybody stores

using Bytes = std::vector<unsigned char>;
using Payload = std::variant<std::uint32_t, std::u16string, Bytes, std::uint64_t>;
struct Property {
    std::u16string name;
    Payload payload;
};
using Properties16 = std::vector<Property>;

std::u16string OneOf(const std::vector<const char16_t*>& words, std::mt19937& random)
{
    return words[random() % words.size()];
}

std::u16string Name(unsigned number, std::mt19937& random)
{
    static const std::vector<const char16_t*> first{u"Window", u"Main", u"Recent", u"Last", u"Default",
        u"Show", u"Enable", u"Print", u"Tool", u"Language", u"Proxy", u"Update"};
    static const std::vector<const char16_t*> second{u"File", u"Folder", u"Position", u"Width", u"Height",
        u"Color", u"Font", u"Name", u"Bar", u"Server", u"Interval", u"Mode"};
    std::u16string name = OneOf(first, random) + OneOf(second, random);
    if (random() % 2 == 0)
        name += OneOf(second, random);
    for (const char digit : std::to_string(number))
        name += static_cast<char16_t>(digit);
    return name;
}

Payload RandomPayload(std::mt19937& random)
{
    const unsigned kind = random() % 10;
    if (kind < 4)
        return static_cast<std::uint32_t>(random());
    if (kind < 8) {
        std::u16string text(4 + random() % 37, u' ');
        for (char16_t& letter : text)
            letter = static_cast<char16_t>(u'a' + random() % 26);
        return text;
    }
    if (kind == 8)
        return Bytes(4 + random() % 61, static_cast<unsigned char>(random()));
    return std::uint64_t{random()} << 32 | random();
}

const Properties16& Sample(unsigned count)
{
    static std::map<unsigned, Properties16> samples;
    Properties16& sample = samples[count];
    std::mt19937 random(1);
    for (unsigned i = 0; sample.size() < count; ++i)
        sample.push_back({Name(i, random), RandomPayload(random)});
    return sample;
}

template <class... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
template <class... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

// ---- Ours

WideString Text(const std::u16string& text)
{
    return text.c_str();
}
Binary ToBinary(const Bytes& bytes)
{
    return {bytes.data(), static_cast<std::uint32_t>(bytes.size())};
}

// Names and values in the types of this library.
struct OurProperty {
    WideString name;
    std::variant<std::uint32_t, WideString, Binary, Handle> payload;
};

std::vector<OurProperty> Ours(unsigned count)
{
    std::vector<OurProperty> result;
    for (const Property& property : Sample(count)) {
        OurProperty& ours = result.emplace_back();
        ours.name = Text(property.name);
        std::visit(Overloaded{[&](std::uint32_t number) { ours.payload = number; },
                       [&](const std::u16string& text) { ours.payload = Text(text); },
                       [&](const Bytes& bytes) { ours.payload = ToBinary(bytes); },
                       [&](std::uint64_t handle) { ours.payload = Handle{handle}; }},
            property.payload);
    }
    return result;
}

void Set(Properties& bag, const OurProperty& property)
{
    std::visit(Overloaded{[&](std::uint32_t number) { bag.SetNumber(property.name, number); },
                   [&](const WideString& text) { bag.SetString(property.name, text); },
                   [&](const Binary& bytes) { bag.SetBinary(property.name, bytes); },
                   [&](Handle handle) { bag.SetHandle(property.name, handle); }},
        property.payload);
}

MemoryProperties OurBag(unsigned count)
{
    MemoryProperties bag;
    for (const OurProperty& property : Ours(count))
        Set(bag, property);
    return bag;
}

// A sum over all that a bag holds, the same for every side.
class Fingerprint {
public:
    void Add(const std::u16string& name, const Payload& payload)
    {
        ++count;
        sum += std::hash<std::u16string>()(name)
            * (payload.index() + 1
                + std::visit(Overloaded{[](std::uint32_t number) { return std::size_t{number}; },
                                 [](const std::u16string& text) { return std::hash<std::u16string>()(text); },
                                 [](const Bytes& bytes) {
                                     return std::hash<std::string>()(std::string(bytes.begin(), bytes.end()));
                                 },
                                 [](std::uint64_t handle) { return std::size_t{handle}; }},
                    payload));
    }
    friend bool operator==(const Fingerprint&, const Fingerprint&) = default;

private:
    std::size_t count = 0;
    std::size_t sum = 0;
};

Fingerprint PrintOf(const Properties16& sample)
{
    Fingerprint print;
    for (const Property& property : sample)
        print.Add(property.name, property.payload);
    return print;
}

Fingerprint PrintOf(const Properties& bag)
{
    Fingerprint print;
    for (const WideString& name : bag.EnumProperties()) {
        const std::u16string key = name.c_str();
        switch (bag.GetType(name)) {
        case Properties::PropertyType::number:
            print.Add(key, bag.GetNumber(name));
            break;
        case Properties::PropertyType::string:
            print.Add(key, std::u16string(bag.GetString(name).c_str()));
            break;
        case Properties::PropertyType::binary: {
            const Binary bytes = bag.GetBinary(name);
            print.Add(key, Bytes(bytes.GetData(), bytes.GetData() + bytes.GetSize()));
            break;
        }
        default:
            print.Add(key, bag.GetHandle(name).value);
        }
    }
    return print;
}

// ---- std::map, and boost's archive of one

struct LessBlind {
    static char16_t Fold(char16_t unit) { return unit >= u'A' && unit <= u'Z' ? unit + 32 : unit; }
    bool operator()(const std::u16string& left, const std::u16string& right) const
    {
        return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end(),
            [](char16_t a, char16_t b) { return Fold(a) < Fold(b); });
    }
};
using Map = std::map<std::u16string, Payload, LessBlind>;

using BoostPayload = boost::variant<std::uint32_t, std::u16string, Bytes, std::uint64_t>;
using BoostMap = std::map<std::u16string, BoostPayload, LessBlind>;

BoostMap ToBoost(const Properties16& sample)
{
    BoostMap map;
    for (const Property& property : sample)
        std::visit([&](const auto& value) { map.emplace(property.name, value); }, property.payload);
    return map;
}
Fingerprint PrintOf(const BoostMap& map)
{
    Fingerprint print;
    for (const auto& [name, payload] : map)
        boost::apply_visitor([&, &key = name](const auto& value) { print.Add(key, value); }, payload);
    return print;
}

// Bytes as a stream, without the copy that a stringstream makes.
class MemoryBuffer : public std::streambuf {
public:
    explicit MemoryBuffer(std::string& bytes)
    {
        setg(bytes.data(), bytes.data(), bytes.data() + bytes.size());
    }
};

BoostMap FromBoost(std::string& bytes)
{
    MemoryBuffer buffer(bytes);
    boost::archive::binary_iarchive archive(buffer, boost::archive::no_header);
    BoostMap map;
    archive >> map;
    return map;
}

// ---- Qt

QString ToQString(const std::u16string& text)
{
    return QString::fromStdU16String(text);
}

QVariant ToQVariant(const Payload& payload)
{
    return std::visit(Overloaded{[](std::uint32_t number) { return QVariant(number); },
                          [](const std::u16string& text) { return QVariant(ToQString(text)); },
                          [](const Bytes& bytes) {
                              return QVariant(QByteArray(reinterpret_cast<const char*>(bytes.data()),
                                  static_cast<int>(bytes.size())));
                          },
                          [](std::uint64_t handle) { return QVariant(static_cast<qulonglong>(handle)); }},
        payload);
}

std::vector<std::pair<QString, QVariant>> QtProperties(unsigned count)
{
    std::vector<std::pair<QString, QVariant>> result;
    for (const Property& property : Sample(count))
        result.emplace_back(ToQString(property.name), ToQVariant(property.payload));
    return result;
}

QVariantMap QtMap(unsigned count)
{
    QVariantMap map;
    for (const auto& [name, value] : QtProperties(count))
        map.insert(name, value);
    return map;
}

Bytes ToBytes(const QByteArray& bytes)
{
    return {bytes.begin(), bytes.end()};
}

Fingerprint PrintOf(const QVariantMap& map)
{
    Fingerprint print;
    for (auto at = map.begin(); at != map.end(); ++at) {
        const std::u16string name = at.key().toStdU16String();
        const QVariant& value = at.value();
        if (value.userType() == QMetaType::UInt)
            print.Add(name, std::uint32_t{value.toUInt()});
        else if (value.userType() == QMetaType::QString)
            print.Add(name, value.toString().toStdU16String());
        else if (value.userType() == QMetaType::QByteArray)
            print.Add(name, ToBytes(value.toByteArray()));
        else
            print.Add(name, std::uint64_t{value.toULongLong()});
    }
    return print;
}

QByteArray ToStream(const QVariantMap& map)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << map;
    return bytes;
}

QVariantMap FromStream(const QByteArray& bytes)
{
    QDataStream stream(bytes);
    QVariantMap map;
    stream >> map;
    return map;
}

// ---- nlohmann CBOR

std::string ToUtf8(const std::u16string& text)
{
    return ToQString(text).toStdString();
}

nlohmann::json ToJson(const Properties16& sample)
{
    nlohmann::json object = nlohmann::json::object();
    for (const Property& property : sample)
        object[ToUtf8(property.name)] =
            std::visit(Overloaded{[](std::uint32_t number) { return nlohmann::json(number); },
                           [](const std::u16string& text) { return nlohmann::json(ToUtf8(text)); },
                           [](const Bytes& bytes) { return nlohmann::json::binary(bytes); },
                           [](std::uint64_t handle) { return nlohmann::json(handle); }},
                property.payload);
    return object;
}

// ---- Benchmarks of memory

void RegisterArchives(unsigned count)
{
    const std::string names = "/" + std::to_string(count) + "/";
    const Properties16& sample = Sample(count);
    const Fingerprint expected = PrintOf(sample);

    const MemoryProperties bag = OurBag(count);
    const Binary exported = bag.Export();
    MemoryProperties imported;
    imported.Import(exported);
    Require(PrintOf(bag) == expected && PrintOf(imported) == expected, "ours does not hold the sample");
    benchmark::RegisterBenchmark(("BM_Export" + names + "ours").c_str(), [bag](benchmark::State& state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(bag.Export());
    });
    benchmark::RegisterBenchmark(("BM_Import" + names + "ours").c_str(), [exported](benchmark::State& state) {
        for (auto _ : state) {
            MemoryProperties target;
            target.Import(exported);
            benchmark::DoNotOptimize(target);
        }
    });

    const nlohmann::json json = ToJson(sample);
    const std::vector<std::uint8_t> cbor = nlohmann::json::to_cbor(json);
    Require(nlohmann::json::from_cbor(cbor) == json && json.size() == count, "CBOR does not hold the sample");
    benchmark::RegisterBenchmark(("BM_Export" + names + "cbor").c_str(), [json](benchmark::State& state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(nlohmann::json::to_cbor(json));
    });
    benchmark::RegisterBenchmark(("BM_Import" + names + "cbor").c_str(), [cbor](benchmark::State& state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(nlohmann::json::from_cbor(cbor));
    });

    const QByteArray streamed = ToStream(QtMap(count));
    Require(PrintOf(FromStream(streamed)) == expected, "QDataStream does not hold the sample");
    benchmark::RegisterBenchmark(
        ("BM_Import" + names + "qdatastream").c_str(), [streamed](benchmark::State& state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(FromStream(streamed));
        });

    std::ostringstream stream;
    const BoostMap boostMap = ToBoost(sample);
    boost::archive::binary_oarchive(stream, boost::archive::no_header) << boostMap;
    const std::string archived = stream.str();
    Require(PrintOf(FromBoost(*std::make_unique<std::string>(archived))) == expected,
        "boost does not hold the sample");
    benchmark::RegisterBenchmark(
        ("BM_Import" + names + "boost").c_str(), [archived](benchmark::State& state) {
            std::string bytes = archived;
            for (auto _ : state)
                benchmark::DoNotOptimize(FromBoost(bytes));
        });
}

void RegisterBuild(unsigned count)
{
    const std::string figure = "BM_BagBuild/" + std::to_string(count) + "/";
    benchmark::RegisterBenchmark((figure + "ours").c_str(), [sample = Ours(count)](benchmark::State& state) {
        for (auto _ : state) {
            MemoryProperties bag;
            for (const OurProperty& property : sample)
                Set(bag, property);
            benchmark::DoNotOptimize(bag);
        }
    });
    benchmark::RegisterBenchmark(
        (figure + "map").c_str(), [&sample = Sample(count)](benchmark::State& state) {
            for (auto _ : state) {
                Map map;
                for (const Property& property : sample)
                    map[property.name] = property.payload;
                benchmark::DoNotOptimize(map);
            }
        });
    benchmark::RegisterBenchmark(
        (figure + "qt").c_str(), [sample = QtProperties(count)](benchmark::State& state) {
            for (auto _ : state) {
                QVariantMap map;
                for (const auto& [name, value] : sample)
                    map.insert(name, value);
                benchmark::DoNotOptimize(map);
            }
        });
}

// The names that are numbers, in another order than the one in which they were set.
template <class Convert>
auto NumberNames(unsigned count, Convert convert)
{
    std::vector<std::u16string> names;
    for (const Property& property : Sample(count))
        if (property.payload.index() == 0)
            names.push_back(property.name);
    std::shuffle(names.begin(), names.end(), std::mt19937(2));
    std::vector<decltype(convert(names[0]))> converted;
    for (const std::u16string& name : names)
        converted.push_back(convert(name));
    return converted;
}

// Calls `act` for one name after the other, as one iteration each.
template <class Names, class Act>
void ForEachName(benchmark::State& state, const Names& names, Act act)
{
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(act(names[next]));
        next = next + 1 < names.size() ? next + 1 : 0;
    }
}

std::u16string Same(const std::u16string& name)
{
    return name;
}

void RegisterAccess(unsigned count)
{
    const std::string names = "/" + std::to_string(count) + "/";
    Map map;
    for (const Property& property : Sample(count))
        map[property.name] = property.payload;
    const MemoryProperties bag = OurBag(count);
    const QVariantMap qt = QtMap(count);
    for (const std::u16string& name : NumberNames(count, Same)) {
        const std::uint32_t number = std::get<std::uint32_t>(map.at(name));
        Require(bag.GetNumber(Text(name)) == number && qt.value(ToQString(name)).toUInt() == number,
            "other numbers");
    }

    benchmark::RegisterBenchmark(("BM_BagGet" + names + "ours").c_str(), [=](benchmark::State& state) {
        ForEachName(
            state, NumberNames(count, Text), [&](const WideString& name) { return bag.GetNumber(name); });
    });
    benchmark::RegisterBenchmark(("BM_BagGet" + names + "map").c_str(), [=](benchmark::State& state) {
        ForEachName(state, NumberNames(count, Same),
            [&](const std::u16string& name) { return std::get<std::uint32_t>(map.find(name)->second); });
    });
    benchmark::RegisterBenchmark(("BM_BagGet" + names + "qt").c_str(), [=](benchmark::State& state) {
        ForEachName(state, NumberNames(count, ToQString),
            [&](const QString& name) { return qt.value(name).toUInt(); });
    });

    benchmark::RegisterBenchmark(("BM_BagOverwrite" + names + "ours").c_str(), [=](benchmark::State& state) {
        MemoryProperties mine = bag;
        mine.SetNumber(u"own", 1); // from here on nobody shares it
        ForEachName(state, NumberNames(count, Text),
            [&](const WideString& name) { return mine.SetNumber(name, 7), 7; });
    });
    benchmark::RegisterBenchmark(("BM_BagOverwrite" + names + "map").c_str(), [=](benchmark::State& state) {
        Map mine = map;
        ForEachName(
            state, NumberNames(count, Same), [&](const std::u16string& name) { return mine[name] = 7U, 7; });
    });
    benchmark::RegisterBenchmark(("BM_BagOverwrite" + names + "qt").c_str(), [=](benchmark::State& state) {
        QVariantMap mine = qt;
        mine.detach();
        ForEachName(
            state, NumberNames(count, ToQString), [&](const QString& name) { return mine[name] = 7U, 7; });
    });

    benchmark::RegisterBenchmark(("BM_BagCopy" + names + "ours").c_str(), [=](benchmark::State& state) {
        for (auto _ : state) {
            const MemoryProperties copy = bag;
            benchmark::DoNotOptimize(&copy);
        }
    });
    benchmark::RegisterBenchmark(("BM_BagCopy" + names + "atomic").c_str(), [](benchmark::State& state) {
        std::atomic<std::uint32_t> refCount{1};
        benchmark::DoNotOptimize(&refCount);
        for (auto _ : state) {
            refCount.fetch_add(1);
            refCount.fetch_sub(1);
        }
    });
}

// ---- Benchmarks of what persists

class Folder {
public:
    Folder()
    {
        char name[] = "/tmp/tessel-bench-XXXXXX";
        path = ::mkdtemp(name);
        ::setenv("TESSEL_REGISTRY", path.c_str(), 1);
    }
    ~Folder() { std::filesystem::remove_all(path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string path;
};

class Database : public SqliteTable {
public:
    using SqliteTable::SqliteTable;

    void SetNumber(const std::u16string& name, std::uint32_t number)
    {
        Set(name, numberType,
            [number](sqlite3_stmt* statement, int at) { sqlite3_bind_int64(statement, at, number); });
    }
    void SetText(const std::u16string& name, const std::u16string& text)
    {
        Set(name, textType, [&text](sqlite3_stmt* statement, int at) {
            sqlite3_bind_text16(statement, at, text.data(), static_cast<int>(text.size() * 2), SQLITE_STATIC);
        });
    }
    std::uint32_t GetNumber(const std::u16string& name)
    {
        return Get(name, numberType, [](sqlite3_stmt* statement, int at) {
            return static_cast<std::uint32_t>(sqlite3_column_int64(statement, at));
        });
    }
    std::u16string GetText(const std::u16string& name)
    {
        return Get(name, textType, [](sqlite3_stmt* statement, int at) {
            const auto* const text = static_cast<const char16_t*>(sqlite3_column_text16(statement, at));
            return std::u16string(text, static_cast<std::size_t>(sqlite3_column_bytes16(statement, at)) / 2);
        });
    }

private:
    static constexpr int numberType = 1;
    static constexpr int textType = 2;
};

// Both stores with the same content.
struct Stores {
    Stores(const std::string& folder, unsigned count) : base(folder + "/" + std::to_string(count) + ".db")
    {
        bag.Open(WideString(u"Bench\\Names") + Text(QString::number(count).toStdU16String()), true);
        for (const OurProperty& property : Ours(count))
            if (property.payload.index() < 2)
                Set(bag, property);
        for (const Property& property : Sample(count))
            if (property.payload.index() == 0)
                base.SetNumber(property.name, std::get<0>(property.payload));
            else if (property.payload.index() == 1)
                base.SetText(property.name, std::get<1>(property.payload));
        for (const Property& property : Sample(count))
            if (property.payload.index() == 0)
                Require(bag.GetNumber(Text(property.name)) == base.GetNumber(property.name), "other numbers");
            else if (property.payload.index() == 1)
                Require(
                    bag.GetString(Text(property.name)).c_str() == base.GetText(property.name), "other texts");
    }

    PersistentProperties bag;
    Database base;
};

void RegisterPersistent(const Folder& folder, unsigned count)
{
    const std::string names = "/" + std::to_string(count) + "/";
    // Made when they are first measured.
    const auto stores = [&folder, count, made = std::make_shared<std::unique_ptr<Stores>>()]() -> Stores& {
        if (!*made)
            *made = std::make_unique<Stores>(folder.path, count);
        return **made;
    };
    benchmark::RegisterBenchmark(("BM_PersistentGet" + names + "ours").c_str(), [=](benchmark::State& state) {
        ForEachName(state, NumberNames(count, Text),
            [&bag = stores().bag](const WideString& name) { return bag.GetNumber(name); });
    });
    benchmark::RegisterBenchmark(
        ("BM_PersistentGet" + names + "sqlite").c_str(), [=](benchmark::State& state) {
            ForEachName(state, NumberNames(count, Same),
                [&base = stores().base](const std::u16string& name) { return base.GetNumber(name); });
        });
    benchmark::RegisterBenchmark(("BM_PersistentSet" + names + "ours").c_str(), [=](benchmark::State& state) {
        ForEachName(state, NumberNames(count, Text),
            [&bag = stores().bag, number = 0U](const WideString& name) mutable {
                bag.SetNumber(name, ++number);
                return number;
            });
    });
    benchmark::RegisterBenchmark(
        ("BM_PersistentSet" + names + "sqlite").c_str(), [=](benchmark::State& state) {
            ForEachName(state, NumberNames(count, Same),
                [&base = stores().base, number = 0U](const std::u16string& name) mutable {
                    base.SetNumber(name, ++number);
                    return number;
                });
        });
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    const Folder folder;
    RegisterArchives(10000);
    for (const unsigned count : {10U, 10000U}) {
        RegisterBuild(count);
        RegisterAccess(count);
        RegisterPersistent(folder, count);
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
