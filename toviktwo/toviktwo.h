// The whole public interface of the toviktwo library.
#pragma once

// Foundations
#include "foundation/hkexception.h"
#include "foundation/hklogstream.h"
#include "foundation/hkstringtools.h"
#include "foundation/hkbuffers.h"
#include "foundation/hkstringmap.h"

// Scheduling and jobs

// XML and grammar-driven reading

// Documents

// Network transport

// Application frame

// Persistence

// Device variables
