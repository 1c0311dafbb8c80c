// UTF-8 to UTF-16 and back, beside Qt 5 and ICU.
//
//   BM_Utf8To16/<text>/<ours|qt|icu>      a new text from the bytes, as long as it needs to be:
//   BM_Utf16To8/<text>/<ours|qt|icu>      ours is ConvertUtfWhole, the peers allocate for the longest case
//   BM_Utf8Into16/<text>/<ours|icu>       the conversion alone, into a buffer that is there
//   BM_Utf16Into8/<text>/<ours|icu>
//
// Texts are made up of words of 1 to 9 letters drawn from an alphabet, with a space or a line break after
// each and now and then a digit or a comma, from a fixed seed: 1 MB of UTF-8 each. "phrases" are 1000
// texts of 10 to 40 chars of ASCII and Latin, converted one after the other.
#include "platform/text.h"

#include <benchmark/benchmark.h>
#include <QString>
#include <unicode/ustring.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;
using WideTexts = std::vector<std::u16string>;

std::string ToUtf8(const std::u32string& text)
{
    return QString::fromUcs4(text.data(), static_cast<int>(text.size())).toStdString();
}

// ---- Texts

struct Alphabet {
    const char* name;
    const char32_t* common; // three letters out of four
    const char32_t* rare;
};

constexpr Alphabet alphabets[] = {
    {"ascii", U"etaoinshrdlu", U"bcfgjkmpqvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"},
    {"latin", U"eaistnrulodm", U"cpévqfbghjàxèyêzçôùâûîœkwöüäß"},
    {"greek", U"αοιετνσηυρπκ", U"μλωςάίόδέχήύγθφβώξζψ"},
    {"cyrillic", U"оеаинтсрвлкм", U"дпуяыьгзбчйхжшюцщэфъ"},
    {"cjk", U"的一是不了人我在有他这中大来上国个到说们",
        U"为子和你地出道也时年得就那要下以生会自着去之过家学对可她里后"},
    {"emoji", U"😀😂🤣😊😍🙏👍🎉", U"❤🔥✨🥺🌍🚀🧵🦊🍕🏆"},
};

char32_t OneOf(const char32_t* letters, std::mt19937& random)
{
    return letters[random() % std::char_traits<char32_t>::length(letters)];
}

std::u32string Prose(const Alphabet& alphabet, std::size_t letters, std::mt19937& random)
{
    std::u32string text;
    while (text.size() < letters) {
        for (unsigned left = 1 + random() % 9; left > 0; --left)
            text += OneOf(random() % 4 != 0 ? alphabet.common : alphabet.rare, random);
        const unsigned choice = random() % 16;
        text += choice == 0 ? U", " : choice == 1 ? U".\n" : choice == 2 ? U" 7 " : U" ";
    }
    text.resize(letters);
    return text;
}

Texts Megabyte(const Alphabet& alphabet)
{
    std::mt19937 random(1);
    std::string text = ToUtf8(Prose(alphabet, 1 << 20, random));
    std::size_t end = 1 << 20;
    while ((static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        --end;
    text.resize(end);
    return {text};
}

Texts Phrases(const Alphabet& alphabet)
{
    std::mt19937 random(2);
    Texts texts;
    for (int i = 0; i < 1000; ++i)
        texts.push_back(ToUtf8(Prose(alphabet, 10 + random() % 31, random)));
    return texts;
}

// ---- The three sides, each from a text to a text of its own

// All sides take their memory from malloc, as Qt does.
struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template <class Unit>
using Memory = std::unique_ptr<Unit[], Free>;
template <class Unit>
Memory<Unit> Allocate(std::size_t units)
{
    return Memory<Unit>(static_cast<Unit*>(std::malloc(units * sizeof(Unit))));
}

struct Owned16 {
    Memory<char16_t> text;
    std::size_t length;
};
struct Owned8 {
    Memory<char> text;
    std::size_t length;
};

// Makes room in a new block, and keeps of the old one what is asked for.
template <class Unit>
auto Growing(Memory<Unit>& text)
{
    return [&text](std::size_t units, std::size_t kept) {
        Memory<Unit> larger = Allocate<Unit>(units + 1);
        if (kept > 0)
            std::memcpy(larger.get(), text.get(), kept * sizeof(Unit));
        text = std::move(larger);
        return text.get();
    };
}

Owned16 OursTo16(const std::string& source)
{
    Owned16 result{};
    result.length = Platform::ConvertUtfWhole<char16_t>(source.data(), source.size(), Growing(result.text));
    result.text[result.length] = u'\0';
    return result;
}

Owned8 OursTo8(const std::u16string& source)
{
    Owned8 result{};
    result.length = Platform::ConvertUtfWhole<char>(source.data(), source.size(), Growing(result.text));
    result.text[result.length] = '\0';
    return result;
}

std::size_t OursInto16(const std::string& source, char16_t* target, std::size_t capacity)
{
    return Platform::Utf8ToUtf16(source.data(), source.size(), target, capacity);
}

std::size_t OursInto8(const std::u16string& source, char* target, std::size_t capacity)
{
    return Platform::Utf16ToUtf8(source.data(), source.size(), target, capacity);
}

QString QtTo16(const std::string& source)
{
    return QString::fromUtf8(source.data(), static_cast<int>(source.size()));
}

QByteArray QtTo8(const QString& source)
{
    return source.toUtf8();
}

std::size_t IcuInto16(const std::string& source, char16_t* target, std::size_t capacity)
{
    std::int32_t length = 0;
    UErrorCode error = U_ZERO_ERROR;
    u_strFromUTF8WithSub(target, static_cast<std::int32_t>(capacity), &length, source.data(),
        static_cast<std::int32_t>(source.size()), 0xFFFD, nullptr, &error);
    return static_cast<std::size_t>(length);
}

std::size_t IcuInto8(const std::u16string& source, char* target, std::size_t capacity)
{
    std::int32_t length = 0;
    UErrorCode error = U_ZERO_ERROR;
    u_strToUTF8WithSub(target, static_cast<std::int32_t>(capacity), &length, source.data(),
        static_cast<std::int32_t>(source.size()), 0xFFFD, nullptr, &error);
    return static_cast<std::size_t>(length);
}

Owned16 IcuTo16(const std::string& source)
{
    Owned16 result{Allocate<char16_t>(source.size() + 1), 0};
    result.length = IcuInto16(source, result.text.get(), source.size() + 1);
    return result;
}

Owned8 IcuTo8(const std::u16string& source)
{
    Owned8 result{Allocate<char>(3 * source.size() + 1), 0};
    result.length = IcuInto8(source, result.text.get(), 3 * source.size() + 1);
    return result;
}

// ---- All sides give the same before a clock starts

void Require(bool holds, const std::string& text)
{
    if (!holds) {
        std::fprintf(stderr, "utf_bench: the sides differ for %s\n", text.c_str());
        std::abort();
    }
}

void RequireAgreement(const std::string& source)
{
    const QString qt = QtTo16(source);
    const std::u16string expected(
        reinterpret_cast<const char16_t*>(qt.utf16()), static_cast<std::size_t>(qt.size()));
    const Owned16 ours = OursTo16(source);
    const Owned16 icu = IcuTo16(source);
    Require(std::u16string(ours.text.get(), ours.length) == expected, source.substr(0, 80));
    Require(std::u16string(icu.text.get(), icu.length) == expected, source.substr(0, 80));
    const Owned8 oursBack = OursTo8(expected);
    const Owned8 icuBack = IcuTo8(expected);
    Require(std::string(oursBack.text.get(), oursBack.length) == source, source.substr(0, 80));
    Require(std::string(icuBack.text.get(), icuBack.length) == source, source.substr(0, 80));
    Require(QtTo8(qt).toStdString() == source, source.substr(0, 80));
}

// ---- Registration

struct Input {
    Texts narrow;
    WideTexts wide;
    std::vector<QString> qt;
    std::size_t bytes = 0;
};

template <class Source, class Conversion>
void Register(const std::string& name, std::shared_ptr<Input> input, std::vector<Source> Input::*sources,
    Conversion conversion)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        for (auto _ : state)
            for (const Source& source : (*input).*sources)
                benchmark::DoNotOptimize(conversion(source));
        state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input->bytes));
    });
}

// Into a buffer that holds the longest text.
template <class Unit, class Source>
auto Into(std::size_t (*conversion)(const Source&, Unit*, std::size_t), std::size_t capacity)
{
    const auto buffer = std::make_shared<std::vector<Unit>>(capacity);
    return [=](const Source& source) { return conversion(source, buffer->data(), buffer->size()); };
}

void RegisterText(const std::string& name, const Texts& texts)
{
    const auto input = std::make_shared<Input>();
    std::size_t longest = 0;
    for (const std::string& text : texts) {
        RequireAgreement(text);
        input->narrow.push_back(text);
        input->qt.push_back(QtTo16(text));
        input->wide.push_back(input->qt.back().toStdU16String());
        input->bytes += text.size();
        longest = std::max(longest, text.size());
    }
    Register("BM_Utf8To16/" + name + "/ours", input, &Input::narrow, OursTo16);
    Register("BM_Utf8To16/" + name + "/qt", input, &Input::narrow, QtTo16);
    Register("BM_Utf8To16/" + name + "/icu", input, &Input::narrow, IcuTo16);
    Register("BM_Utf8Into16/" + name + "/ours", input, &Input::narrow, Into(OursInto16, longest + 1));
    Register("BM_Utf8Into16/" + name + "/icu", input, &Input::narrow, Into(IcuInto16, longest + 1));
    Register("BM_Utf16To8/" + name + "/ours", input, &Input::wide, OursTo8);
    Register("BM_Utf16To8/" + name + "/qt", input, &Input::qt, QtTo8);
    Register("BM_Utf16To8/" + name + "/icu", input, &Input::wide, IcuTo8);
    Register("BM_Utf16Into8/" + name + "/ours", input, &Input::wide, Into(OursInto8, 3 * longest + 1));
    Register("BM_Utf16Into8/" + name + "/icu", input, &Input::wide, Into(IcuInto8, 3 * longest + 1));
}

} // namespace

int main(int argc, char** argv)
{
    for (const Alphabet& alphabet : alphabets)
        RegisterText(alphabet.name, Megabyte(alphabet));
    RegisterText("phrases_ascii", Phrases(alphabets[0]));
    RegisterText("phrases_latin", Phrases(alphabets[1]));
    RegisterText("phrases_cjk", Phrases(alphabets[4]));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
