#include <LumvoData/Style/AEnvironment.h>

namespace Kelvra {

AEnvironment::AEnvironment() : m_WorkingPlane(std::make_shared<AWorkingPlane>()), m_SkyBox(std::make_shared<ASkyBox>())
{}

AEnvironment::~AEnvironment() = default;
} // namespace Kelvra
