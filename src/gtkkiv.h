/* gtkkiv.h: the one header an application includes to use libgtkkiv. */
#ifndef GTKKIV_H
#define GTKKIV_H

#define GTKKIV_INSIDE
#include "kivdefs.h"
#include "gthread-compat.h"
#include "function.h"
#include "stats.h"
#include "graph.h"
#include "axis.h"
#include "function2d.h"
#include "histogram2d.h"
#include "histogram.h"
#include "profile.h"
#include "tracer.h"
#include "kivchart1d.h"
#include "kivchart-protected.h"
#include "kivchart2d.h"
#include "kivgauge.h"
#undef GTKKIV_INSIDE

#endif /* GTKKIV_H */
