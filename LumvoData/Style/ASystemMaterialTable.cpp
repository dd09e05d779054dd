#include <LumvoData/Style/ASystemMaterialTable.h>

namespace Kelvra {

ASystemMaterialTable::ASystemMaterialTable()
{
    Initialize();
}

void ASystemMaterialTable::Initialize()
{
    struct Row
    {
        const wchar_t* name;
        AMath::ColourValue ambient;
        AMath::ColourValue diffuse;
        AMath::ColourValue specular;
        float shininess;
    };
    static constexpr Row s_Rows[] = {
        {L"emerald", {0.0215F, 0.1745F, 0.0215F}, {0.07568F, 0.61424F, 0.07568F}, {0.633F, 0.727811F, 0.633F}, 76.8F},
        {L"jade", {0.135F, 0.2225F, 0.1575F}, {0.54F, 0.89F, 0.63F}, {0.316228F, 0.316228F, 0.316228F}, 12.8F},
        {L"obsidian",
         {0.05375F, 0.05F, 0.06625F},
         {0.18275F, 0.17F, 0.22525F},
         {0.332741F, 0.328634F, 0.346435F},
         38.4F},
        {L"pearl", {0.25F, 0.20725F, 0.20725F}, {1.0F, 0.829F, 0.829F}, {0.296648F, 0.296648F, 0.296648F}, 11.264F},
        {L"ruby",
         {0.1745F, 0.01175F, 0.01175F},
         {0.61424F, 0.04136F, 0.04136F},
         {0.727811F, 0.626959F, 0.626959F},
         76.8F},
        {L"turquoise",
         {0.1F, 0.18725F, 0.1745F},
         {0.396F, 0.74151F, 0.69102F},
         {0.297254F, 0.30829F, 0.306678F},
         12.8F},
        {L"brass",
         {0.329412F, 0.223529F, 0.027451F},
         {0.780392F, 0.568627F, 0.113725F},
         {0.992157F, 0.941176F, 0.807843F},
         27.897436F},
        {L"bronze", {0.2125F, 0.1275F, 0.054F}, {0.714F, 0.4284F, 0.18144F}, {0.393548F, 0.271906F, 0.166721F}, 25.6F},
        {L"chrome", {0.25F, 0.25F, 0.25F}, {0.4F, 0.4F, 0.4F}, {0.774597F, 0.774597F, 0.774597F}, 76.8F},
        {L"copper",
         {0.19125F, 0.0735F, 0.0225F},
         {0.7038F, 0.27048F, 0.0828F},
         {0.256777F, 0.137622F, 0.086014F},
         12.8F},
        {L"gold",
         {0.24725F, 0.1995F, 0.0745F},
         {0.75164F, 0.60648F, 0.22648F},
         {0.628281F, 0.555802F, 0.366065F},
         51.2F},
        {L"silver",
         {0.19225F, 0.19225F, 0.19225F},
         {0.50754F, 0.50754F, 0.50754F},
         {0.508273F, 0.508273F, 0.508273F},
         51.2F},
        {L"black plastic", {0.0F, 0.0F, 0.0F}, {0.01F, 0.01F, 0.01F}, {0.5F, 0.5F, 0.5F}, 32.0F},
        {L"cyan plastic",
         {0.0F, 0.1F, 0.06F},
         {0.0F, 0.5098039F, 0.5098039F},
         {0.50196075F, 0.50196075F, 0.50196075F},
         32.0F},
        {L"green plastic", {0.0F, 0.0F, 0.0F}, {0.1F, 0.35F, 0.1F}, {0.45F, 0.55F, 0.45F}, 32.0F},
        {L"red plastic", {0.0F, 0.0F, 0.0F}, {0.5F, 0.0F, 0.0F}, {0.7F, 0.6F, 0.6F}, 32.0F},
        {L"white plastic", {0.0F, 0.0F, 0.0F}, {0.55F, 0.55F, 0.55F}, {0.7F, 0.7F, 0.7F}, 32.0F},
        {L"yellow plastic", {0.0F, 0.0F, 0.0F}, {0.5F, 0.5F, 0.0F}, {0.6F, 0.6F, 0.5F}, 32.0F},
        {L"black rubber", {0.02F, 0.02F, 0.02F}, {0.01F, 0.01F, 0.01F}, {0.4F, 0.4F, 0.4F}, 10.0F},
        {L"cyan rubber", {0.0F, 0.05F, 0.05F}, {0.4F, 0.5F, 0.5F}, {0.04F, 0.7F, 0.7F}, 10.0F},
        {L"green rubber", {0.0F, 0.05F, 0.0F}, {0.4F, 0.5F, 0.4F}, {0.04F, 0.7F, 0.04F}, 10.0F},
        {L"red rubber", {0.05F, 0.0F, 0.0F}, {0.5F, 0.4F, 0.4F}, {0.7F, 0.04F, 0.04F}, 10.0F},
        {L"white rubber", {0.05F, 0.05F, 0.05F}, {0.5F, 0.5F, 0.5F}, {0.7F, 0.7F, 0.7F}, 10.0F},
        {L"yellow rubber", {0.05F, 0.05F, 0.0F}, {0.5F, 0.5F, 0.4F}, {0.7F, 0.7F, 0.04F}, 10.0F},
    };
    for (const Row& row : s_Rows) {
        const auto material = std::make_shared<AMaterial>();
        material->SetAmbient(row.ambient);
        material->SetDiffuse(row.diffuse);
        material->SetSpecular(row.specular);
        material->SetShininess(row.shininess);
        AddMaterial(row.name, material);
    }
}

std::shared_ptr<AMaterial> ASystemMaterialTable::FindMaterial(const std::wstring& name) const
{
    const auto found = m_Materials.find(name);
    return found == m_Materials.end() ? nullptr : found->second;
}

void ASystemMaterialTable::AddMaterial(const std::wstring& name, const std::shared_ptr<AMaterial>& material)
{
    m_Materials[name] = material;
}

template <> ASystemMaterialTable& TSingleton<ASystemMaterialTable>::Instance()
{
    static ASystemMaterialTable s_Instance;
    return s_Instance;
}
} // namespace Kelvra
