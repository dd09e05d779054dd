#include <Tests/Support/SceneFileTest.h>

#include <cstddef>
#include <filesystem>
#include <istream>
#include <locale>
#include <sstream>
#include <streambuf>
#include <string>
#include <system_error>
#include <utility>

using namespace Kelvra;

namespace {

using XmlStreamTest = SceneFileTest;

std::wstring TextOf(AIStreamXML& in, const std::wstring& name)
{
    std::wstring text = L"(none)";
    if (in.Push(name))
        in.NodeValue(text);
    in.Pop();
    return text;
}

// Names of textures come back as they went, as element text and as an attribute, in any place.
TEST(XmlStream, TextsAreKeptToTheLetter)
{
    for (const std::wstring inner :
         {L"", L" \t \n ", L"  wood  grain ", L"a\r\nb\rc\r", L"\na\n\nb\n", L"\ta\tb\t", L"<a>&\"'</a>", L"&lt;&#65;",
          L"]]>", L"<!-- -- -->", L"\x7F\x85", L"\x0434\x6728\U0001F600\U0010FFFF"})
        for (const std::wstring& text : {inner, L"x" + inner + L"x"}) {
            AOStreamXML out;
            EXPECT_TRUE(out.Push(L"Field"));
            out.NodeValue(L"replaced");
            out.NodeValue(text);
            out.Attribute(L"type", text);
            AIStreamXML in;
            ASSERT_TRUE(in.LoadString(out.ToString())) << in.GetError();
            std::wstring read = L"former", attribute = L"former";
            EXPECT_TRUE(in.Push(L"Field"));
            in.NodeValue(read);
            in.Attribute(L"type", attribute);
            EXPECT_EQ(read, text) << out.ToString();
            EXPECT_EQ(attribute, text) << out.ToString();
        }
}

TEST(XmlStream, FailedPushesAreBalancedByTheirPops)
{
    AOStreamXML out;
    EXPECT_TRUE(out.Push(L"Outer"));
    for (const wchar_t* name : {L"", L"1st", L"-a", L"a b", L"a>", L"<", L"\xD7", L"a\x37E", L"\xB7", L"a\xD800"}) {
        EXPECT_FALSE(out.Push(name));
        EXPECT_FALSE(out.Push(L"Inside")) << "there is nothing to be inside of";
        out.Pop();
        out.Pop();
    }
    const std::string name = "_a:b-1.\xC2\xB7\xD0\x96\xF0\x90\x90\x80";
    EXPECT_TRUE(out.Push(KvText::FromUtf8(name)));
    out.NodeValue(std::wstring(L"\0\xD800", 2)); // nothing that XML can hold
    out.Attribute(L"not a name", L"lost");
    for (int i = 0; i < 3; ++i)
        out.Pop(); // the last is one too many
    EXPECT_TRUE(out.Push(L"Second"));
    EXPECT_EQ(out.ToString(), "<?xml version=\"1.0\"?>\n<Outer>\n  <" + name + ">\xEF\xBF\xBD\xEF\xBF\xBD</" + name +
                                  ">\n</Outer>\n<Second />\n");
}

TEST(XmlStream, ElementsAreFoundByNameAndReadInTheirOrder)
{
    AIStreamXML in;
    ASSERT_TRUE(in.LoadString("<R><A>1</A><B>x</B><A><A>inner</A></A></R><S/>"));
    in.Pop(); // one too many
    std::wstring text = L"kept";
    in.NodeValue(text); // of no element
    EXPECT_EQ(text, L"kept");
    EXPECT_TRUE(in.Push(L"R"));
    EXPECT_TRUE(in.Push(L"A")) << "asks whether there is one";
    in.Pop();
    EXPECT_EQ(TextOf(in, L"A"), L"1");
    EXPECT_EQ(TextOf(in, L"S"), L"(none)") << "that one is not a child";
    EXPECT_EQ(TextOf(in, L"B"), L"x") << "fields are found in any order";
    EXPECT_TRUE(in.Push(L"A")) << "the second, whatever was entered between";
    EXPECT_EQ(TextOf(in, L"A"), L"inner");
    in.Pop();
    EXPECT_EQ(TextOf(in, L"A"), L"1") << "the first again";
}

TEST(XmlStream, ReadsDocumentsOfOtherWriters)
{
    const std::pair<std::string, const wchar_t*> rows[] = {
        {"<?xml version='1.0'?><!DOCTYPE A><?p q?><A>one<!-- <A> -->two</A>", L"onetwo"},
        {"<A>1<![CDATA[<2>&amp;]]> &#x41;&#1046;&quot;</A>", L"1<2>&amp; A\x0416\""},
        {"\xEF\xBB\xBF<A>\xD0\x96</A>", L"\x0416"},
        {std::string("\xFF\xFE<\0A\0>\0\x16\x04<\0/\0A\0>\0", 18), L"\x0416"},
        {"<A>\xE9</A>", L"\xFFFD"}};
    for (const auto& [document, text] : rows) {
        AIStreamXML in;
        std::istringstream stream(document);
        EXPECT_TRUE(in.Load(stream)) << in.GetError();
        EXPECT_EQ(TextOf(in, L"A"), text) << document;
    }
}

// A document is read whole or not at all: what stands before the error is not taken either.
TEST_F(XmlStreamTest, MalformedDocumentsSayWhereAndAreNotTaken)
{
    const std::string good = "<A>1</A>\n<B>\n";
    const std::pair<std::string, std::string> rows[] = {{"", "line 1, column 1 (byte 0)"},
                                                        {"just text", "line 1, column 10 (byte 9)"},
                                                        {good, "line 2, column 4 (byte 12)"},
                                                        {good + "</A>", "line 3, column 3 (byte 15)"},
                                                        {good + "<a b=\"c", "line 3, column 7 (byte 19)"},
                                                        {"<A>\xD0\x96</B>", "line 1, column 8 (byte 7)"}};
    for (const auto& [document, where] : rows)
        for (const bool fromFile : {false, true}) {
            WriteFile(Bytes(document));
            AIStreamXML in;
            ASSERT_TRUE(in.LoadString("<A>former</A>"));
            EXPECT_FALSE(fromFile ? in.Load(FileName()) : in.LoadString(document));
            const std::string place = (fromFile ? PathOf("test.scene").string() + ": " : "") + where + ": ";
            EXPECT_EQ(in.GetError().substr(0, place.size()), place);
            EXPECT_GT(in.GetError().size(), place.size()) << "what is wrong";
            EXPECT_EQ(TextOf(in, L"A"), L"(none)");
        }
}

/// Blanks without an end.
class Blanks : public std::streambuf
{
public:
    [[nodiscard]] std::size_t Given() const { return m_Given; }

protected:
    int_type underflow() override
    {
        m_Given += m_Block.size();
        setg(m_Block.data(), m_Block.data(), m_Block.data() + m_Block.size());
        return traits_type::to_int_type(m_Block.front());
    }

private:
    std::string m_Block = std::string(1 << 20, ' ');
    std::size_t m_Given = 0;
};

// No more is read of a document than is needed to see that it is too large.
TEST_F(XmlStreamTest, DocumentsThatAreTooLargeAreNotRead)
{
    constexpr std::size_t largest = std::size_t{256} << 20;
    Blanks blanks;
    std::istream endless(&blanks);
    AIStreamXML in;
    EXPECT_FALSE(in.Load(endless));
    EXPECT_EQ(in.GetError(), "File too large");
    EXPECT_LE(blanks.Given(), largest + (std::size_t{2} << 20));
    WriteFile(Bytes("<A/>"));
    std::filesystem::resize_file(PathOf("test.scene"), largest + 1);
    EXPECT_FALSE(in.Load(FileName()));
    EXPECT_EQ(in.GetError(), PathOf("test.scene").string() + ": cannot read: File too large");
}

TEST_F(XmlStreamTest, ErrorsOfFilesNameThem)
{
    for (const std::string& name : {PathOf("missing/doc.xml").string(), std::string("/dev/full")})
        try {
            AOStreamXML().Save(KvText::FromPath(name));
            ADD_FAILURE() << name;
        } catch (const std::system_error& e) {
            EXPECT_EQ(std::string(e.what()).find(name), 0U) << e.what();
        }
    AIStreamXML in;
    EXPECT_FALSE(in.Load(FileName("missing.xml")));
    EXPECT_EQ(in.GetError().find(PathOf("missing.xml").string() + ": cannot open: "), 0U) << in.GetError();
}

TEST_F(XmlStreamTest, AFieldThatIsNotThereIsReportedAndNotWritten)
{
    AOStreamXML out;
    const float* volatile missing = nullptr; // volatile, so that the compiler does not warn of what is tested
    ASerializationImpl::Field<float>(out, L"m_Key", missing);
    EXPECT_EQ(out.ToString(), AOStreamXML().ToString());
    EXPECT_EQ(TakeReports(), Reports(1, {L"Serialize meets NULL pointer", "Serialize/ASerializationImpl", 126}));
}

struct DecimalComma : std::numpunct<char>
{
    char do_decimal_point() const override { return ','; }
};

TEST(XmlStream, NumbersAreTheSameInEveryLocale)
{
    const std::locale former = std::locale::global(std::locale(std::locale::classic(), new DecimalComma));
    AMaterial stored;
    stored.SetAmbient({0.5F, 1234.5F, -0.25F, 1});
    AOStreamXML out;
    stored.Serialize(out);
    AIStreamXML in;
    EXPECT_TRUE(in.LoadString("<AMaterial><m_Shininess>0.25</m_Shininess></AMaterial>"));
    stored.Serialize(in);
    std::locale::global(former);
    EXPECT_NE(out.ToString().find(">0.5 1234.5 -0.25 1<"), std::string::npos) << out.ToString();
    EXPECT_EQ(stored.GetShininess(), 0.25F);
}
} // namespace
