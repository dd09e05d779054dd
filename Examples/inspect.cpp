// Prints every object of a scene file as an indented list of its fields: inspect FILE
#include <LumvoData/LumvoData.h>

#include <iostream>
#include <set>
#include <stdexcept>

using namespace Kelvra;

struct Inspector : ASceneFieldVisitor
{
    void Print(const std::shared_ptr<AObject>& object)
    {
        std::cout << (object ? KvText::ToUtf8(object->GetRuntimeClassId().GetName()) : "none") << '\n';
        if (!object || !m_Printed.insert(object).second)
            return; // the fields of a shared object were printed where it was first met
        m_Indentation += 2;
        VisitFields(*object, *this);
        m_Indentation -= 2;
    }

    void OnField(const ASceneField& field) override
    {
        std::cout << std::string(m_Indentation, ' ') << field.name << ": ";
        std::visit([](const auto* value) { Show(*value); }, field.value);
        std::cout << '\n';
    }
    void OnReference(const ASceneReferenceField& field, std::shared_ptr<AObject>& object) override
    {
        std::cout << std::string(m_Indentation, ' ') << field.name << ": ";
        Print(object); // recursion is as deep as references nest, 1,024 levels at most
    }

    template <class T> static void Show(const T& value) { std::cout << value << ' '; }
    template <class T> static void Show(const std::vector<T>& values)
    {
        for (const T& value : values)
            Show(value);
    }
    static void Show(const std::wstring& text) { std::cout << '"' << KvText::ToUtf8(text) << '"'; }
    static void Show(const AMath::Vector3& p) { Show(std::vector{p.x, p.y, p.z}); }
    static void Show(const AMath::ColourValue& c) { Show(std::vector{c.r, c.g, c.b, c.a}); }
    static void Show(const AMath::AxisAlignedBox& box) { Show(std::vector{box.getMinimum(), box.getMaximum()}); }
    static void Show(const AMath::Matrix4& matrix) { Show(std::vector<double>(&matrix[0], &matrix[0] + 16)); }
    std::set<std::shared_ptr<AObject>> m_Printed;
    std::size_t m_Indentation = 0;
};

int main(int count, char** arguments)
{
    ASceneSerializeContext context(KvText::FromUtf8(count == 2 ? arguments[1] : ""), false);
    if (!context.Begin())
        throw std::runtime_error("usage: inspect FILE, a scene file");
    for (Inspector inspector; context.GetBytesLeft() > 0;) {
        std::shared_ptr<ASceneNode> root;
        context.Collector().ReadPtr(root, context);
        inspector.Print(root);
    }
}
