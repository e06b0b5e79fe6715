// The whole public interface of the toviktwo library.
#pragma once

// Foundations
#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/foundation/hklogstream.h>
#include <toviktwo/foundation/hkstringtools.h>
#include <toviktwo/foundation/hkbuffers.h>
#include <toviktwo/foundation/hkstringmap.h>
#include <toviktwo/foundation/hkmappedvalue.h>
#include <toviktwo/foundation/hkprogrampath.h>

// Scheduling and jobs
#include <toviktwo/scheduler/hkgavetascheduler2.h>
#include <toviktwo/scheduler/hkjidgenerator.h>
#include <toviktwo/scheduler/hkjobmessage.h>
#include <toviktwo/scheduler/hkcombinedtask.h>
#include <toviktwo/scheduler/hkjob.h>

// XML and grammar-driven reading
#include <toviktwo/xml/hkxmlattribute.h>
#include <toviktwo/xml/hkxmlelement.h>
#include <toviktwo/xml/hkdtd.h>
#include <toviktwo/xml/hkxmlcontentsplitter.h>
#include <toviktwo/xml/hkdtdelementreader.h>

// Documents
#include <toviktwo/documents/css/hkcss.h>
#include <toviktwo/documents/html/hkhtmlelement.h>
#include <toviktwo/documents/html/hkhtmldocument.h>
#include <toviktwo/documents/html/hkhtmlform.h>
#include <toviktwo/documents/html/hkdatareader.h>
#include <toviktwo/documents/svg/hksvg.h>

// Network transport
#include <toviktwo/transport/hktransceiver.h>
#include <toviktwo/transport/hkcgi.h>
#include <toviktwo/transport/hkerrormsg404.h>
#include <toviktwo/transport/hkfileservice.h>

// Application frame
#include <toviktwo/application/hkforthcoming.h>
#include <toviktwo/application/hktovikinterfaceprops.h>
#include <toviktwo/application/hkintention.h>
#include <toviktwo/application/hkhtmlkontextn.h>
#include <toviktwo/application/hktovikapplication2.h>
#include <toviktwo/application/hkappviewportbase.h>
#include <toviktwo/application/hkdhtml.h>
#include <toviktwo/application/hkserverentry.h>
#include <toviktwo/application/hkserverentry_c.h>

// Persistence

// Device variables
