// The whole public interface of the toviktwo library.
#pragma once

// Foundations
#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/foundation/hklogstream.h>
#include <toviktwo/foundation/hkstringtools.h>
#include <toviktwo/foundation/hkbuffers.h>
#include <toviktwo/foundation/hkstringmap.h>
#include <toviktwo/foundation/hkdatum.h>
#include <toviktwo/foundation/hkfaelligkeit.h>
#include <toviktwo/foundation/hkdateformater.h>
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
#include <toviktwo/xml/hkxmldatum.h>
#include <toviktwo/xml/hkxmlnodepool.h>

// Documents
#include <toviktwo/documents/css/hkcss.h>
#include <toviktwo/documents/html/hkhtmlelement.h>
#include <toviktwo/documents/html/hkhtmldocument.h>
#include <toviktwo/documents/html/hkhtmlform.h>
#include <toviktwo/documents/html/hkdatareader.h>
#include <toviktwo/documents/svg/hksvg.h>
#include <toviktwo/documents/charts/hksvgchild.h>
#include <toviktwo/documents/charts/hkiframecontent.h>
#include <toviktwo/documents/charts/hkaxis.h>
#include <toviktwo/documents/charts/hkpointcollection.h>
#include <toviktwo/documents/charts/hkfunctionplot.h>
#include <toviktwo/documents/charts/hkpointseries.h>
#include <toviktwo/documents/charts/hkcanvas.h>
#include <toviktwo/documents/charts/hkcoordinatesystem.h>

// Network transport
#include <toviktwo/transport/hkprotocols.h>
#include <toviktwo/transport/hksocket.h>
#include <toviktwo/transport/hkurl.h>
#include <toviktwo/transport/hkxheader.h>
#include <toviktwo/transport/hkmessageblock.h>
#include <toviktwo/transport/hkservercallback.h>
#include <toviktwo/transport/hksigpipehold.h>
#include <toviktwo/transport/hktransportjobs.h>
#include <toviktwo/transport/hktransceiverconnection.h>
#include <toviktwo/transport/hktransceivercore.h>
#include <toviktwo/transport/hktransceiverserver.h>
#include <toviktwo/transport/hktransceiverclient.h>
#include <toviktwo/transport/hktransceiver.h>
#include <toviktwo/transport/hkcgi.h>
#include <toviktwo/transport/hkerrormsg404.h>
#include <toviktwo/transport/hkfileservice.h>
#include <toviktwo/transport/hkurlhookservice.h>
#include <toviktwo/transport/hkwebclient.h>

// Application frame
#include <toviktwo/application/hktovikinterfaceprops.h>
#include <toviktwo/application/hkintention.h>
#include <toviktwo/application/hkwidgetmanager.h>
#include <toviktwo/application/hklurvoupdatemanager.h>
#include <toviktwo/application/hkscenario.h>
#include <toviktwo/application/hkhtmlkontextn.h>
#include <toviktwo/application/hktovikapplication2.h>
#include <toviktwo/application/hkappviewportbase.h>
#include <toviktwo/application/hkdhtml.h>
#include <toviktwo/application/hkserverentry.h>
#include <toviktwo/application/hkserverentry_c.h>

// Persistence
#include <toviktwo/persistence/hkstringstorage.h>
#include <toviktwo/persistence/hkxmldatabase.h>
#include <toviktwo/persistence/hkpersistentappstorage.h>
#include <toviktwo/persistence/hkcommandcompiler.h>
#include <toviktwo/persistence/hksmallxmltable.h>

// Device variables
#include <toviktwo/devices/hkmutexend.h>
#include <toviktwo/devices/hkboxmutex.h>
#include <toviktwo/devices/hkmessage.h>
#include <toviktwo/devices/hkdevice_w_queue.h>
#include <toviktwo/devices/hkvartype.h>
#include <toviktwo/devices/hkvaluechangemessage.h>
#include <toviktwo/devices/hkchannel.h>
#include <toviktwo/devices/hkdynamicvariable.h>
#include <toviktwo/devices/hkdynamicvariableset.h>
#include <toviktwo/devices/hkvarconfigaddress.h>
#include <toviktwo/devices/hkvariableconfiguration.h>
#include <toviktwo/devices/hkdriverconnectmessage.h>
#include <toviktwo/devices/hkdriverconnector.h>
