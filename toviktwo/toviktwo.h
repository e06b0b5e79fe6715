// The whole public interface of the toviktwo library.
#pragma once

// Foundations
#include "foundation/hkexception.h"
#include "foundation/hklogstream.h"
#include "foundation/hkstringtools.h"
#include "foundation/hkbuffers.h"
#include "foundation/hkstringmap.h"

// Scheduling and jobs
#include "scheduler/hkgavetascheduler2.h"
#include "scheduler/hkjidgenerator.h"
#include "scheduler/hkjobmessage.h"
#include "scheduler/hkcombinedtask.h"
#include "scheduler/hkjob.h"

// XML and grammar-driven reading
#include "xml/hkxmlattribute.h"
#include "xml/hkxmlelement.h"
#include "xml/hkdtd.h"
#include "xml/hkxmlcontentsplitter.h"
#include "xml/hkdtdelementreader.h"

// Documents
#include "documents/css/hkcss.h"
#include "documents/html/hkhtmlelement.h"
#include "documents/html/hkhtmldocument.h"
#include "documents/html/hkhtmlform.h"
#include "documents/html/hkdatareader.h"
#include "documents/svg/hksvg.h"

// Network transport
#include "transport/hktransceiver.h"

// Application frame
#include "application/hkforthcoming.h"
#include "application/hktovikinterfaceprops.h"
#include "application/hkhtmlkontextn.h"
#include "application/hktovikapplication2.h"
#include "application/hkappviewportbase.h"

// Persistence

// Device variables
