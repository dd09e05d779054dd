#pragma once

#include <LumvoData/Serialize/AEntitySerializer.h>
#include <LumvoData/Serialize/ASceneReports.h>
#include <LumvoData/Serialize/ASceneSerializeContext.h>
#include <LumvoData/Serialize/TScenePtrCollector.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// \file
/// Vectors of shared pointers in the scene file.
///
/// Record of a vector: the count as an integer, the string "vector", then each element as an object reference
/// of the collector of its type.
namespace Kelvra {

/// Stores a vector, empty slots as empty references.
template <class T> void WriteVector(const std::vector<std::shared_ptr<T>>& vector, ASceneSerializeContext& context)
{
    static const std::wstring s_Tag = L"vector";
    WriteCount(vector.size(), context);
    context.Write(s_Tag);
    for (const std::shared_ptr<T>& element : vector)
        context.Collector().WritePtr<T>(element, context);
}

/// Loads a vector; the tag is not checked. As many elements as the vector holds replace them slot by slot, an
/// empty reference emptying its slot. Any other number is appended, and of those an element that reads as
/// empty is reported and left out.
template <class T> void ReadVector(std::vector<std::shared_ptr<T>>& vector, ASceneSerializeContext& context)
{
    const std::int32_t count = ReadCount(context);
    context.ClassNameBuffer().clear();
    context.Read(context.ClassNameBuffer()); // the tag, into a string that need not be allocated
    const bool inPlace = count > 0 && static_cast<std::size_t>(count) == vector.size();
    const auto read = [&] {
        std::shared_ptr<T> element;
        context.Collector().ReadPtr<T>(element, context);
        return element;
    };
    if (inPlace) {
        for (std::shared_ptr<T>& slot : vector)
            slot = read();
        return;
    }
    AReferenceCounter counter(count, context);
    while (counter.Next()) {
        std::shared_ptr<T> element = read();
        if (context.Collector().Check(element != nullptr, SceneReports::StyleNotRead))
            vector.push_back(std::move(element));
        else
            counter.WasNull();
    }
}
} // namespace Kelvra
