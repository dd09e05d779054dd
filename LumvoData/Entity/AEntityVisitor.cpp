#include <LumvoData/Entity/AEntityVisitor.h>

namespace Kelvra {

AEntityVisitor::~AEntityVisitor() = default;
} // namespace Kelvra
