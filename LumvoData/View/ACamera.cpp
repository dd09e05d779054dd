#include <LumvoData/View/ACamera.h>

namespace Kelvra {

ACamera::ACamera(AMath::Matrix4* viewMatrix, AMath::Matrix4* /*ignored*/)
{
    if (viewMatrix != nullptr)
        ViewMatrix(*viewMatrix);
}

ACamera::~ACamera() = default;

void* ACamera::Clone()
{
    return new ACamera(*this);
}

void ACamera::ViewMatrix(const AMath::Matrix4& worldToView)
{
    m_InverseViewMatrix = worldToView.inverse();
    m_ViewMatrix = worldToView;
}
} // namespace Kelvra
