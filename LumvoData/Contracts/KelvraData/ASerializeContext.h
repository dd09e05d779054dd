#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>

#include <string>

namespace Kelvra {

/// Base of the contexts through which objects store and load themselves: strings and raw bytes, both ways.
class KELVRADATA_API ASerializeContext
{
public:
    ASerializeContext() = default;
    ASerializeContext(const ASerializeContext&) = default;
    ASerializeContext& operator=(const ASerializeContext&) = default;
    virtual ~ASerializeContext();

    virtual void Write(const std::wstring& text) = 0;
    virtual void Write(const void* data, int count) = 0;
    virtual void Read(std::wstring& text) = 0;
    virtual void Read(void* data, int count) = 0;
};
} // namespace Kelvra
