#include <LumvoData/LumvoData.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>

using namespace Kelvra;

namespace {

template <class T> std::string ToXml(T& object)
{
    AOStreamXML stream;
    object.Serialize(stream);
    return stream.ToString();
}

template <class T> void FromXml(T& object, const std::string& document)
{
    AIStreamXML stream;
    ASSERT_TRUE(stream.LoadString(document)) << stream.GetError();
    object.Serialize(stream);
}

const std::string s_Declaration = "<?xml version=\"1.0\"?>\n";

TEST(StyleXml, MaterialHasFiveElements)
{
    const std::string text = ToXml(*std::make_shared<AMaterial>());
    EXPECT_EQ(text, s_Declaration + "<AMaterial>\n"
                                    "  <m_Ambient type=\"ColorValue\">0.23125 0.23125 0.23125 1</m_Ambient>\n"
                                    "  <m_Diffuse type=\"ColorValue\">0.2775 0.2775 0.2775 1</m_Diffuse>\n"
                                    "  <m_Specular type=\"ColorValue\">0.773911 0.773911 0.773911 1</m_Specular>\n"
                                    "  <m_Emission type=\"ColorValue\">0 0 0 1</m_Emission>\n"
                                    "  <m_Shininess type=\"float\">89.6</m_Shininess>\n"
                                    "</AMaterial>\n");
    AMaterial changed(L"pearl");
    changed.SetEmission(AMath::ColourValue::Red);
    FromXml(changed, text);
    EXPECT_EQ(ToXml(changed), text);
    changed.SetDiffuse({NAN, 0.5F, -NAN, -HUGE_VALF});
    AMaterial notFinite;
    FromXml(notFinite, ToXml(changed));
    EXPECT_EQ(ToXml(notFinite), ToXml(changed));
    EXPECT_EQ(changed.GetSpecular().b, 0.773911F);
}

TEST(StyleXml, TextureHasThreeElements)
{
    ATexture texture, loaded;
    texture.SetTag(5);
    texture.SetName(L" two  <&> \u20AC\U0001F600");
    texture.SetEnableMask(true);
    const std::string text = ToXml(texture);
    EXPECT_EQ(text, s_Declaration + "<ATexture>\n"
                                    "  <m_szName type=\"AString\"> two  &lt;&amp;&gt; \u20AC\U0001F600</m_szName>\n"
                                    "  <m_szFileName type=\"AString\"></m_szFileName>\n"
                                    "  <m_bEnableMask type=\"bool\">1</m_bEnableMask>\n"
                                    "</ATexture>\n");
    loaded.SetFileName(L"former");
    FromXml(loaded, text);
    EXPECT_EQ(ToXml(loaded), text);
    EXPECT_EQ(loaded.GetTag(), 0);
}

// Missing elements keep what the object holds; so does a document of another class.
TEST(StyleXml, MissingElementsChangeNothing)
{
    AMaterial material(L"gold");
    const std::string gold = ToXml(material);
    for (const char* document : {"<AMaterial/>", "<ATexture><m_Shininess>1</m_Shininess></ATexture>",
                                 "<x><AMaterial><m_Shininess>1</m_Shininess></AMaterial></x>"}) {
        FromXml(material, document);
        EXPECT_EQ(ToXml(material), gold) << document;
    }
    FromXml(material, "<AMaterial><m_Shininess type=\"AString\">2.5</m_Shininess></AMaterial>");
    EXPECT_EQ(material.GetShininess(), 2.5F) << "the type is not looked at";
    EXPECT_EQ(material.GetSpecular(), AMaterial(L"gold").GetSpecular());
}

// Each text is read as a diffuse colour over (9, 9, 9, 9), as a shininess over 9 and as an enable mask over true.
TEST(StyleXml, MalformedNumbersEndWithDefinedValues)
{
    const struct
    {
        std::string text;
        AMath::ColourValue colour;
        float shininess;
        bool mask;
    } rows[] = {{"", {1, 1, 1, 1}, 9, true},
                {"2", {2, 1, 1, 1}, 2, true},
                {"true", {1, 1, 1, 1}, 9, true},
                {" 0 -2e1\n0.3\t4 5 ", {0, -20, 0.3F, 4}, 0, false},
                {"0.5 x 0.25 0", {0.5F, 1, 1, 1}, 0.5F, false},
                {"0,5 2", {0, 1, 1, 1}, 0, false},
                {"1e999 2", {1, 1, 1, 1}, 9, true},
                {"-inf 2 INF +Infinity", {-HUGE_VALF, 2, HUGE_VALF, HUGE_VALF}, -HUGE_VALF, true},
                {"inflated 2", {1, 1, 1, 1}, 9, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        AMaterial material;
        material.SetDiffuse({9, 9, 9, 9});
        material.SetShininess(9);
        FromXml(material, "<AMaterial><m_Diffuse>" + row.text + "</m_Diffuse><m_Shininess>" + row.text +
                              "</m_Shininess></AMaterial>");
        EXPECT_EQ(material.GetDiffuse(), row.colour);
        EXPECT_EQ(material.GetShininess(), row.shininess);
        ATexture texture;
        texture.SetEnableMask(true);
        FromXml(texture, "<ATexture><m_bEnableMask>" + row.text + "</m_bEnableMask></ATexture>");
        EXPECT_EQ(texture.IsEnableMask(), row.mask);
    }
}
} // namespace
