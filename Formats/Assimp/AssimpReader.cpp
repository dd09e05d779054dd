#include <Formats/Support/FormatServices.h>
#include <Formats/Support/Geometry.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>
#include <LumvoData/Scene/AEntitySceneNode.h>
#include <LumvoData/Scene/AGroupSceneNode.h>

#include <assimp/DefaultIOSystem.h>
#include <assimp/Importer.hpp>
#include <assimp/ProgressHandler.hpp>
#include <assimp/importerdesc.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <set>
#include <sstream>
#include <utility>

namespace Formats {
namespace {

using namespace Kelvra;
using AMath::ColourValue;

std::string Named(const char* what, const aiString& name)
{
    return std::string(what) + ' ' + Quote(name.C_Str());
}

bool IsWordCharacter(char c) noexcept
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

ColourValue ColourOf(const aiColor4D& c)
{
    return {static_cast<float>(c.r), static_cast<float>(c.g), static_cast<float>(c.b)};
}

/// Turns what Assimp has read into a scene.
class SceneMaker
{
public:
    SceneMaker(Import& job, const aiScene& scene)
        : m_Job(job), m_Scene(scene), m_Entities(scene.mNumMeshes), m_Styles(scene.mNumMaterials)
    {}

    std::shared_ptr<ASceneNode> Make()
    {
        CountLosses();
        struct Entry
        {
            const aiNode* node;
            std::size_t parent;
            std::vector<std::shared_ptr<ASceneNode>> children; // the last first
        };
        // Parents before children, so that the way back meets all children before their parent.
        std::vector<Entry> entries = {{m_Scene.mRootNode, 0, {}}};
        for (std::size_t i = 0; i < entries.size(); ++i) {
            const aiNode* const node = entries[i].node;
            for (unsigned int child = 0; child < node->mNumChildren; ++child)
                entries.push_back({node->mChildren[child], i, {}});
        }
        std::shared_ptr<ASceneNode> root;
        for (std::size_t i = entries.size(); i-- > 0;) {
            auto& children = entries[i].children;
            std::reverse(children.begin(), children.end());
            root = MakeNode(*entries[i].node, std::exchange(children, {}));
            if (root && i > 0)
                entries[entries[i].parent].children.push_back(root);
        }
        return root ? root : std::make_shared<AGroupSceneNode>();
    }

private:
    void CountLosses()
    {
        const auto lose = [&](const char* what, std::uint64_t count) {
            if (count > 0)
                m_Job.Lose(what, count);
        };
        lose("animations", m_Scene.mNumAnimations);
        lose("cameras", m_Scene.mNumCameras);
        lose("lights", m_Scene.mNumLights);
        for (unsigned int i = 0; i < m_Scene.mNumMeshes; ++i) {
            const aiMesh& mesh = *m_Scene.mMeshes[i];
            lose("names of meshes", mesh.mName.length > 0 ? 1 : 0);
            lose("bones", mesh.mNumBones);
            lose("morph targets", mesh.mNumAnimMeshes);
            lose("sets of vertex colours", mesh.GetNumColorChannels());
            lose("further sets of texture coordinates", std::max(mesh.GetNumUVChannels(), 1U) - 1);
            lose("third texture coordinates", mesh.HasTextureCoords(0) && mesh.mNumUVComponents[0] == 3 ? 1 : 0);
        }
    }

    /// \returns an empty pointer for a node that shows nothing.
    std::shared_ptr<ASceneNode> MakeNode(const aiNode& from, std::vector<std::shared_ptr<ASceneNode>> children)
    {
        if (from.mName.length > 0)
            m_Job.Lose("names of nodes");
        std::vector<std::shared_ptr<ASceneNode>> parts;
        for (unsigned int i = 0; i < from.mNumMeshes; ++i)
            if (auto part = MakePart(from.mMeshes[i]))
                parts.push_back(std::move(part));
        parts.insert(parts.end(), children.begin(), children.end());
        if (parts.empty())
            return nullptr;

        std::shared_ptr<ASceneNode> node = parts.front();
        if (parts.size() > 1 || !children.empty()) {
            const auto group = std::make_shared<AGroupSceneNode>();
            for (const auto& part : parts)
                group->AddChildNode(part);
            node = group;
        }
        node->SetTransform(TransformOf(from));
        return node;
    }

    static AMath::Matrix4 TransformOf(const aiNode& node)
    {
        // Row by row, for column vectors.
        const aiMatrix4x4& m = node.mTransformation;
        AMath::Matrix4 transform;
        for (unsigned int r = 0; r < 4; ++r)
            for (unsigned int c = 0; c < 4; ++c) {
                if (!std::isfinite(m[r][c]))
                    throw FormatError(Named("node", node.mName), "its transform is not finite");
                transform[4 * c + r] = static_cast<double>(m[r][c]);
            }
        return transform;
    }

    std::shared_ptr<ASceneNode> MakePart(unsigned int index)
    {
        if (index >= m_Scene.mNumMeshes)
            throw FormatError({}, "mesh " + std::to_string(index) + " is shown, but there are only " +
                                      std::to_string(m_Scene.mNumMeshes));
        const aiMesh& mesh = *m_Scene.mMeshes[index];
        std::shared_ptr<AEntity>& entity = m_Entities[index];
        if (!entity)
            entity = MakeEntityOf(mesh);
        if (!entity)
            return nullptr;
        const auto node = std::make_shared<AEntitySceneNode>();
        node->SetEntity(entity);
        if (mesh.mMaterialIndex < m_Scene.mNumMaterials) {
            const auto& [faces, lines] = StylesOf(mesh.mMaterialIndex);
            if (IsOf(mesh, aiPrimitiveType_LINE))
                node->SetStyle(StyleEdge, lines);
            else
                node->SetStyle(StyleFace, faces);
        }
        return node;
    }

    // Geometry

    static bool IsOf(const aiMesh& mesh, unsigned int type) { return (mesh.mPrimitiveTypes & type) != 0; }

    /// A mesh has elements of one kind; checks what it hands on.
    std::shared_ptr<AEntity> MakeEntityOf(const aiMesh& from)
    {
        if (from.mNumVertices == 0 || from.mNumFaces == 0)
            return nullptr;
        const unsigned int corners = IsOf(from, aiPrimitiveType_POINT) ? 1 : IsOf(from, aiPrimitiveType_LINE) ? 2 : 3;
        std::vector<unsigned int> indices;
        indices.reserve(std::size_t{from.mNumFaces} * corners);
        for (unsigned int i = 0; i < from.mNumFaces; ++i) {
            const aiFace& face = from.mFaces[i];
            if (face.mNumIndices != corners)
                Fail(from,
                     "an element has " + std::to_string(face.mNumIndices) + " corners, not " + std::to_string(corners));
            for (unsigned int k = 0; k < corners; ++k) {
                if (face.mIndices[k] >= from.mNumVertices)
                    Fail(from, "vertex " + std::to_string(face.mIndices[k]) + " is named, but there are only " +
                                   std::to_string(from.mNumVertices));
                indices.push_back(face.mIndices[k]);
            }
        }
        return corners == 2 ? MakeEntity({}, MakeEdges(from, indices)) : MakeEntity({MakeMesh(from, indices)}, {});
    }

    std::shared_ptr<ASubMesh> MakeMesh(const aiMesh& from, const std::vector<unsigned int>& indices)
    {
        auto mesh = std::make_shared<ASubMesh>();
        const bool points = IsOf(from, aiPrimitiveType_POINT);
        std::vector<unsigned int> vertices;
        if (points)
            vertices = indices;
        else {
            mesh->IndexBuffer() = indices;
            vertices.resize(from.mNumVertices);
            std::iota(vertices.begin(), vertices.end(), 0U);
        }
        const auto copy = [&](const aiVector3D* vectors, unsigned int width, std::vector<float>& buffer) {
            buffer.reserve(std::size_t{width} * vertices.size());
            for (const unsigned int vertex : vertices)
                for (unsigned int axis = 0; axis < width; ++axis) {
                    const auto number = static_cast<float>(vectors[vertex][axis]);
                    if (!std::isfinite(number))
                        return false;
                    buffer.push_back(number);
                }
            return true;
        };
        if (!copy(from.mVertices, 3, mesh->VertexBuffer()))
            Fail(from, "a vertex has a coordinate that is not finite");
        if (from.HasTextureCoords(0) && !copy(from.mTextureCoords[0], 2, mesh->TexCoordBuffer()))
            Fail(from, "a vertex has a texture coordinate that is not finite");
        // Where a file has no normal, or none of any length, Assimp leaves NaN.
        if (!points && from.HasNormals() && !copy(from.mNormals, 3, mesh->NormalBuffer())) {
            m_Job.Lose("normals of meshes of which some are not finite");
            mesh->NormalBuffer() = {};
        }
        FitBox(*mesh);
        return mesh;
    }

    /// Segments that follow one another make one edge; most formats give each its own points.
    static std::vector<std::shared_ptr<ASubEdge>> MakeEdges(const aiMesh& from,
                                                            const std::vector<unsigned int>& indices)
    {
        std::vector<std::shared_ptr<ASubEdge>> edges;
        const auto add = [&](unsigned int vertex) {
            const aiVector3D& v = from.mVertices[vertex];
            for (const auto number : {v.x, v.y, v.z}) {
                if (!std::isfinite(number))
                    Fail(from, "a vertex has a coordinate that is not finite");
                edges.back()->VertexBuffer().push_back(static_cast<float>(number));
            }
        };
        for (std::size_t i = 0; i < indices.size(); i += 2) {
            if (i == 0 || from.mVertices[indices[i]] != from.mVertices[indices[i - 1]]) {
                edges.push_back(std::make_shared<ASubEdge>());
                add(indices[i]);
            }
            add(indices[i + 1]);
        }
        for (const auto& edge : edges)
            FitBox(*edge);
        return edges;
    }

    [[noreturn]] static void Fail(const aiMesh& mesh, const std::string& problem)
    {
        throw FormatError(Named("mesh", mesh.mName), problem);
    }

    // Materials

    struct Styles
    {
        std::shared_ptr<AFaceStyle> faces;
        std::shared_ptr<ALineStyle> lines;
    };

    const Styles& StylesOf(unsigned int index)
    {
        Styles& styles = m_Styles[index];
        if (!styles.faces)
            styles = MakeStyles(*m_Scene.mMaterials[index]);
        return styles;
    }

    Styles MakeStyles(const aiMaterial& from)
    {
        if (const aiString name = from.GetName();
            name.length > 0 && std::string(name.C_Str()) != AI_DEFAULT_MATERIAL_NAME)
            m_Job.Lose("names of materials");
        const auto colour = [&](const char* key, unsigned int type, unsigned int index, const aiColor4D& otherwise) {
            aiColor4D found = otherwise;
            from.Get(key, type, index, found);
            return ColourOf(found);
        };
        ai_real opacity = 1;
        from.Get(AI_MATKEY_OPACITY, opacity);
        ai_real shininess = 0;
        from.Get(AI_MATKEY_SHININESS, shininess);
        ColourValue diffuse = colour(AI_MATKEY_COLOR_DIFFUSE, {0.8F, 0.8F, 0.8F, 1});
        diffuse.a = static_cast<float>(opacity);

        const auto material = std::make_shared<AMaterial>();
        material->SetAmbient(colour(AI_MATKEY_COLOR_AMBIENT, {0.2F, 0.2F, 0.2F, 1}));
        material->SetDiffuse(diffuse);
        material->SetSpecular(colour(AI_MATKEY_COLOR_SPECULAR, {0, 0, 0, 1}));
        material->SetEmission(colour(AI_MATKEY_COLOR_EMISSIVE, {0, 0, 0, 1}));
        material->SetShininess(static_cast<float>(shininess));
        const bool baseColour = from.GetTextureCount(aiTextureType_DIFFUSE) == 0;
        const aiTextureType diffuseType = baseColour ? aiTextureType_BASE_COLOR : aiTextureType_DIFFUSE;
        material->SetDiffuseTexture(TextureOf(from, diffuseType));
        material->SetReflectionTexture(TextureOf(from, aiTextureType_REFLECTION));
        CountOtherTextures(from, diffuseType);

        Styles styles{std::make_shared<AFaceStyle>(), std::make_shared<ALineStyle>(1.0F, diffuse)};
        styles.faces->SetColor(diffuse);
        styles.faces->SetMaterial(material);
        styles.faces->SetTransparent(opacity < 1);
        return styles;
    }

    void CountOtherTextures(const aiMaterial& from, aiTextureType diffuse)
    {
        for (int type = aiTextureType_DIFFUSE; type <= AI_TEXTURE_TYPE_MAX; ++type) {
            const bool used = type == diffuse || type == aiTextureType_REFLECTION;
            const unsigned int count = from.GetTextureCount(static_cast<aiTextureType>(type));
            if (count > (used ? 1U : 0U))
                m_Job.Lose("further textures of materials", count - (used ? 1U : 0U));
        }
    }

    std::shared_ptr<ATexture> TextureOf(const aiMaterial& from, aiTextureType type)
    {
        aiString path;
        if (from.GetTexture(type, 0, &path) != aiReturn_SUCCESS || path.length == 0)
            return nullptr;
        std::shared_ptr<ATexture>& texture = m_Textures[path.C_Str()];
        if (!texture) {
            std::wstring file = KvText::FromUtf8(path.C_Str());
            std::replace(file.begin(), file.end(), L'\\', L'/');
            if (const aiTexture* const image = m_Scene.GetEmbeddedTexture(path.C_Str()))
                file = KeepImage(*image, file);
            const std::wstring base = file.substr(file.rfind(L'/') + 1);
            texture = std::make_shared<ATexture>();
            texture->SetFileName(file);
            texture->SetName(base.substr(0, base.rfind(L'.')));
        }
        return texture->GetFileName().empty() ? nullptr : texture;
    }

    std::wstring KeepImage(const aiTexture& image, const std::wstring& path)
    {
        std::wstring name = path.substr(path.rfind(L'/') + 1);
        if (name.empty() || name.front() == L'*') // its number in the file
            name = L"image" + name.substr(name.empty() ? 0 : 1);
        name = name.substr(0, name.rfind(L'.'));
        if (image.mHeight == 0) { // a file of mWidth bytes
            std::wstring extension;
            for (const char* c = image.achFormatHint; c != std::end(image.achFormatHint) && IsWordCharacter(*c); ++c)
                extension += static_cast<wchar_t>(*c);
            const char* const bytes = static_cast<const char*>(static_cast<const void*>(image.pcData));
            return m_Job.KeepImage(name + L'.' + (extension.empty() ? L"bin" : extension), {bytes, image.mWidth});
        }
        if (image.mWidth > 0xFFFF || image.mHeight > 0xFFFF) {
            m_Job.Lose("images inside the file");
            return {};
        }
        // A Targa file holds the same pixels: blue, green, red and alpha, the upper row first.
        const auto low = [](unsigned int size) { return static_cast<char>(size & 0xFF); };
        const auto high = [](unsigned int size) { return static_cast<char>(size >> 8); };
        std::string file = {0,
                            0,
                            2,
                            0,
                            0,
                            0,
                            0,
                            0,
                            0,
                            0,
                            0,
                            0,
                            low(image.mWidth),
                            high(image.mWidth),
                            low(image.mHeight),
                            high(image.mHeight),
                            32,
                            0x28};
        const std::size_t pixels = std::size_t{image.mWidth} * image.mHeight;
        file.reserve(file.size() + 4 * pixels);
        for (std::size_t i = 0; i < pixels; ++i)
            for (const unsigned char part :
                 {image.pcData[i].b, image.pcData[i].g, image.pcData[i].r, image.pcData[i].a})
                file += static_cast<char>(part);
        return m_Job.KeepImage(name + L".tga", file);
    }

    Import& m_Job;
    const aiScene& m_Scene;
    std::vector<std::shared_ptr<AEntity>> m_Entities; // of the meshes, each shared by all nodes that show it
    std::vector<Styles> m_Styles;                     // of the materials
    std::map<std::string, std::shared_ptr<ATexture>> m_Textures;
};

/// Opens the model's file, and others in its folder or below it. A pipe would be waited for without end.
class ModelFiles : public Assimp::DefaultIOSystem
{
public:
    explicit ModelFiles(Import& job) : m_Job(job) {}

    bool Exists(const char* file) const override { return !Find(file).empty(); }
    Assimp::IOStream* Open(const char* file, const char* mode) override
    {
        const std::filesystem::path found = Find(file);
        std::error_code error;
        return std::filesystem::is_regular_file(found, error)
                   ? Assimp::DefaultIOSystem::Open(found.u8string().c_str(), mode)
                   : nullptr;
    }

private:
    /// Empty for what is not there or not to be opened.
    [[nodiscard]] std::filesystem::path Find(const char* file) const
    {
        const std::filesystem::path wanted = std::filesystem::u8path(file);
        if (wanted == m_Job.GetPath())
            return wanted;
        const std::filesystem::path name = wanted.lexically_relative(m_Job.GetPath().parent_path());
        try {
            return m_Job.FindCompanion(name);
        } catch (const FormatError&) {
            std::error_code error;
            const std::filesystem::path outside = name.lexically_normal();
            if (std::filesystem::is_regular_file(wanted, error) && m_Outside.insert(outside).second)
                m_Job.Lose("files that are not in the folder or below it: " + Quote(outside.u8string()));
            return {};
        }
    }

    Import& m_Job;
    mutable std::set<std::filesystem::path> m_Outside; // what the model names elsewhere
};

class Progress : public Assimp::ProgressHandler
{
public:
    explicit Progress(Import& job) : m_Job(job) {}
    bool Update(float done) override
    {
        if (done >= 0 && done <= 1)
            m_Job.Progress(
                static_cast<std::uint64_t>(static_cast<double>(done) * static_cast<double>(m_Job.GetFile().GetSize())));
        return true;
    }

private:
    Import& m_Job;
};

/// Assimp tells formats apart by the contents, and may find that a file is for another of its importers than the
/// one that was asked for.
std::shared_ptr<ASceneNode> Read(Import& job, std::size_t wanted)
{
    Assimp::Importer importer;
    importer.SetIOHandler(new ModelFiles(job));     // owned by the importer
    importer.SetProgressHandler(new Progress(job)); // owned by the importer
    const aiScene* const scene = importer.ReadFile(
        job.GetPath().u8string(), aiProcess_Triangulate | aiProcess_SortByPType | aiProcess_ValidateDataStructure);
    if (scene == nullptr)
        throw FormatError({}, Printable(importer.GetErrorString()));
    const int used = importer.GetPropertyInteger("importerIndex", -1);
    if (used != static_cast<int>(wanted)) {
        const auto nameOf = [&](std::size_t index) {
            const aiImporterDesc* const about = importer.GetImporterInfo(index);
            return about != nullptr ? Quote(about->mName) : "another importer";
        };
        throw FormatError({}, "is a file for Assimp's " + nameOf(static_cast<std::size_t>(used)) + ", not for its " +
                                  nameOf(wanted));
    }
    if (scene->mRootNode == nullptr)
        throw FormatError({}, "the file has no scene");
    // A scene that is flagged as incomplete has no meshes or no materials, such as one of animations alone.
    return SceneMaker(job, *scene).Make();
}

/// A lower-case word from what is left of an importer's name without "Importer" and what follows it.
std::wstring ServiceNameOf(const std::string& importer)
{
    std::wstring name = L"assimp";
    bool gap = true;
    for (const char c : importer.substr(0, std::min(importer.find(" Importer"), importer.find(" Reader")))) {
        const bool letter = IsWordCharacter(c);
        if (letter && gap)
            name += L'-';
        if (letter)
            name += static_cast<wchar_t>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
        gap = !letter;
    }
    return name;
}

/// The patterns of an importer's extensions without those that other modules read.
std::wstring FilterOf(const std::string& extensions)
{
    static const std::set<std::string> s_Others = {"obj", "stl", "ply", "gltf", "glb", "scene"};
    std::wstring filter;
    std::istringstream words(extensions);
    for (std::string word; words >> word;)
        if (s_Others.count(word) == 0)
            filter += (filter.empty() ? L"*." : L";*.") + KvText::FromUtf8(word);
    return filter;
}

std::vector<std::unique_ptr<FormatRegistration>> RegisterAll()
{
    std::vector<std::unique_ptr<FormatRegistration>> registrations;
    const Assimp::Importer importer;
    for (std::size_t i = 0; i < importer.GetImporterCount(); ++i) {
        const aiImporterDesc* const about = importer.GetImporterInfo(i);
        const std::wstring filter = about != nullptr ? FilterOf(about->mFileExtensions) : L"";
        if (filter.empty())
            continue;
        registrations.push_back(std::make_unique<FormatRegistration>(
            Format{ServiceNameOf(about->mName), KvText::FromUtf8(about->mName) + L" (Assimp)", filter,
                   [i](Import& job) { return Read(job, i); }, -1}));
    }
    return registrations;
}

const std::vector<std::unique_ptr<FormatRegistration>> s_Readers = RegisterAll();
} // namespace
} // namespace Formats
