#pragma once

/// \file
/// The free graphics functions: projections and views, frustum planes, picking, box subdivision.

#include <LumvoData/View/GrphBoxes.h>
#include <LumvoData/View/GrphPicking.h>
#include <LumvoData/View/GrphPlanes.h>
#include <LumvoData/View/GrphProjection.h>
