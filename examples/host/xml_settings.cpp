#include "host/xml_settings.h"

#include "host/narrator.h"

#include <tessel/base/utf8.h>
#include <tessel/tessel.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

namespace {

// As somebody has typed it.
const char* const typed = R"(<?xml version="1.0" encoding="utf-8"?>
<!-- Edit while the program is closed. -->
<settings language="de">
    <window name='main' width='1280' height='720'/>
  <window name='log'   height='200' width='640'/>
    <greeting>Schöne Grüße &amp; gute Nacht</greeting>
  <startup><![CDATA[if (lamps < 3) light("all");]]></startup>
    <proxy>cache.example:3128</proxy>
</settings>
)";

// What the changes make of it, in the writer's layout.
const char* const changed = R"(<?xml version="1.0" encoding="utf-8"?>
<!-- Edit while the program is closed. -->
<settings language="de">
  <window height="720" name="main" width="1600"/>
  <window height="200" name="log" width="640"/>
  <greeting>Schöne Grüße &amp; gute Nacht</greeting>
  <startup>
    <![CDATA[if (lamps < 3) light("all");]]>
  </startup>
  <recent title="&quot;A &amp; B&quot;">&lt;none></recent>
</settings>)";

void WriteBytes(const std::filesystem::path& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string ReadBytes(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

FacePtr<Xml::Document> Read(const std::filesystem::path& path)
{
    return FacePtr<Xml::Reader>(Xml::readerClass)->ReadFile(StringFromUtf8(path.c_str()));
}

std::string TextOf(const FacePtr<Xml::Element>& element)
{
    std::string text;
    for (const FacePtr<Xml::Node>& child : element->GetChildren())
        text += Demo::Narrow(child->GetValue());
    return text;
}

void Change(const FacePtr<Xml::Element>& settings)
{
    settings->GetChildElement(u"window", false)->SetAttribute(u"width", u"1600");
    settings->RemoveChild(settings->GetChildElement(u"proxy", false));
    const FacePtr<Xml::Element> recent = settings->GetChildElement(u"recent", true);
    recent->SetAttribute(u"title", u"\"A & B\"");
    recent->InsertChild(Xml::NodeType::Text, u"<none>", nullptr);
}

std::string FailureOf(const std::filesystem::path& path)
{
    try {
        Read(path);
        return {};
    } catch (const Error& error) {
        return Demo::Narrow(error.GetLayerText(0));
    }
}

} // namespace

void Demo::ChangeXmlSettings(const std::filesystem::path& path)
{
    Chapter("Settings in a file, as XML:");
    WriteBytes(path, typed);
    const FacePtr<Xml::Document> document = Read(path);
    const FacePtr<Xml::Element> settings = document->GetRootElement();
    Claim(settings->GetAttribute(u"language") == u"de" && settings->GetChildren().size() == 5,
        "They are read: five elements, and of the white space between them nothing.");
    const std::string greeting = TextOf(settings->GetChildElement(u"greeting", false));
    Claim(greeting == "Schöne Grüße & gute Nacht", "The greeting is \"" + greeting + "\".");

    Change(settings);
    FacePtr<Xml::Writer>(Xml::writerClass)->WriteFile(document, StringFromUtf8(path.c_str()));
    Claim(ReadBytes(path) == changed, "Wider, without the proxy and with a new entry, the file is this:");
    std::istringstream lines(changed);
    for (std::string line; std::getline(lines, line);)
        Say("    " + line);

    const FacePtr<Xml::Element> again = Read(path)->GetRootElement();
    const FacePtr<Xml::Element> recent = again->GetChildElement(u"recent", false);
    Claim(again->GetChildElement(u"window", false)->GetAttribute(u"width") == u"1600"
            && !again->GetChildElement(u"proxy", false) && recent
            && recent->GetAttribute(u"title") == u"\"A & B\"" && TextOf(recent) == "<none>",
        "Read again, it holds what was changed.");

    const std::filesystem::path broken = path.string() + ".broken";
    WriteBytes(broken, "<settings>\n  <window>\n</settings>\n");
    const std::string failure = FailureOf(broken);
    std::filesystem::remove(broken);
    Claim(failure.find("xml-parser-syntax-struc(3:11)") != failure.npos,
        "A file with a fault is refused, line and column told: \"" + failure + "\"");
}
