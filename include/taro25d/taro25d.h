#pragma once

/// @file
/// All of the library's public headers.

/// @namespace LUMO_TARO25D
/// Everything that the library offers.

#include "taro25d/AcceptExperimentalFeature.h"
#include "taro25d/Bbox2.h"
#include "taro25d/Bbox3.h"
#include "taro25d/CAFType.h"
#include "taro25d/CAF_Component.h"
#include "taro25d/Circle2.h"
#include "taro25d/Color.h"
#include "taro25d/Colorname.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintInsertionStrategy.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/CutAndFill.h"
#include "taro25d/Edge2.h"
#include "taro25d/IsoContours.h"
#include "taro25d/Label.h"
#include "taro25d/MeshGenParams.h"
#include "taro25d/MsgBase.h"
#include "taro25d/MsgType.h"
#include "taro25d/Orientation2.h"
#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"
#include "taro25d/SegmentChecker.h"
#include "taro25d/SegmentIntersectionType.h"
#include "taro25d/TaroException.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Triangle2.h"
#include "taro25d/TriangleAroundVertexIterator.h"
#include "taro25d/Vector2.h"
#include "taro25d/Visualizer2.h"
#include "taro25d/Zone2.h"
#include "taro25d/ZoneLocation.h"
#include "taro25d/export.h"
#include "taro25d/freeFunctions.h"
#include "taro25d/version.h"
