#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>

namespace Kelvra {

/// Makes objects of one class, known to its caller by the base type `B` only.
template <class B> class KELVRA_TEMPLATE_API TObjectCreatorBase
{
public:
    using ObjectType = B;

    virtual ~TObjectCreatorBase() = default;
    /// A new object, which the caller owns.
    [[nodiscard]] virtual B* Create() = 0;
};

template <class X, class CreatorBase> class TObjectCreator;

/// Makes objects of class `X` with its default constructor.
template <class X, class B> class TObjectCreator<X, TObjectCreatorBase<B>> : public TObjectCreatorBase<B>
{
public:
    [[nodiscard]] B* Create() override { return new X; }
};
} // namespace Kelvra
