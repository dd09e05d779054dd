#include <Tests/Support/RecordTest.h>

using namespace Kelvra;

namespace {

AMath::ColourValue Colour(float red, float v)
{
    return {red * v, 0.25F * v, -0.5F * v, 0.75F * v};
}

Bytes Block(float red, float v)
{
    return Bytes().Colour(red * v, 0.25F * v, -0.5F * v, 0.75F * v);
}

const Bytes s_Grey = Bytes().Colour(0.5F, 0.5F, 0.5F, 1);
/// What a new material stores.
const Bytes s_NewMaterial = Packed{Bytes().Colour(0.23125F, 0.23125F, 0.23125F, 1).Colour(0.2775F, 0.2775F, 0.2775F, 1),
                                   Bytes().Colour(0.773911F, 0.773911F, 0.773911F, 1).Colour(0, 0, 0, 1), 89.6F, 0, 0};

const Record s_Records[] = {
    MakeRecord<ANodeStyle>(
        "NodeStyle", 32, [](ANodeStyle& style, float v) { style.SetColor(Colour(1, v)); },
        [](float v) { return Block(1, v); }),
    MakeRecord<ALineStyle>(
        "LineStyle", 37,
        [](ALineStyle& style, float v) {
            style.SetColor(Colour(1, v));
            style.SetLineWidth(2.5F * v);
            style.SetModelLine(v == 1);
        },
        [](float v) { return Packed(Block(1, v), 2.5F * v, v == 1); }),
    MakeRecord<AFaceStyle>(
        "FaceStyle", 34,
        [](AFaceStyle& style, float v) {
            style.SetColor(Colour(1, v));
            style.SetTransparent(v == 1);
            style.SetUseMaterial(v == 2);
            style.SetMaterial(std::make_shared<AMaterial>());
        },
        [](float v) { return Packed(Block(1, v), v == 1, v == 2, 1, u"AMaterial", s_NewMaterial); }),
    MakeRecord<AMaterial>(
        "Material", 132,
        [](AMaterial& material, float v) {
            material.SetAmbient(Colour(1, v));
            material.SetDiffuse(Colour(2, v));
            material.SetSpecular(Colour(3, v));
            material.SetEmission(Colour(4, v));
            material.SetShininess(5.5F * v);
            if (v == 1)
                material.SetDiffuseTexture(std::make_shared<ATexture>());
            else
                material.SetReflectionTexture(std::make_shared<ATexture>());
        },
        [](float v) {
            const Bytes plain = Packed{Block(1, v), Block(2, v), Block(3, v), Block(4, v), 5.5F * v};
            const Bytes texture = Packed{1, u"ATexture", u"", u"", false};
            return v == 1 ? Packed{plain, texture, 0} : Packed{plain, 0, texture};
        }),
    MakeRecord<ATexture>(
        "Texture", 4 + 8 + 4 + 10 + 1,
        [](ATexture& texture, float v) {
            texture.SetName(v == 1 ? L"a \U0001F600" : L"four");
            texture.SetFileName(v == 1 ? L"x.png" : L"y.jpg");
            texture.SetTag(40); // not stored
            texture.SetEnableMask(v == 1);
        },
        [](float v) { return v == 1 ? Packed(u"a \xD83D\xDE00", u"x.png", true) : Packed(u"four", u"y.jpg", false); }),
};

using StyleRecords = RecordTest;

TEST_P(StyleRecords, StoreAndLoadWholeAndInPart)
{
    ExpectBothDirections();
    ExpectPrefixesLoad();
}
INSTANTIATE_TEST_SUITE_P(Style, StyleRecords, testing::ValuesIn(s_Records), RowName<Record>);

using StyleFiles = SceneFileTest;

// What a file does not hold, an empty reference or a texture's tag, stays what it was; filler is not kept.
TEST_F(StyleFiles, EmptyReferencesKeepWhatIsHeld)
{
    const auto material = std::make_shared<AMaterial>();
    AFaceStyle style;
    style.SetMaterial(material);
    LoadRecord(style, Packed{Bytes().Colour(0.5F, 0.5F, 0.5F, 1, 0xAA), Bytes().Byte(0x80), false, 0});
    EXPECT_EQ(style.GetMaterial(), material);
    EXPECT_EQ(StoreRecord(style), (Packed{s_Grey, true, false, 1, u"AMaterial", s_NewMaterial})) << "any byte is true";

    const auto texture = std::make_shared<ATexture>();
    texture->SetTag(7);
    material->SetReflectionTexture(texture);
    LoadRecord(*material, s_NewMaterial);
    EXPECT_EQ(material->GetReflectionTexture(), texture);
    LoadRecord(*texture, Packed{u"n", u"f", true});
    EXPECT_EQ(texture->GetTag(), 7);
    EXPECT_EQ(TakeReports(), Reports());
}
} // namespace
