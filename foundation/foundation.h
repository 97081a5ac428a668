// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FOUNDATION_H
#define ZORVEX_FOUNDATION_FOUNDATION_H

/// The whole foundation library. Conventions of all its headers:
///
/// Names: classes and functions begin with L. Nothing is in a namespace.
///
/// Failures: told by the return value (false, null, 0, a small result code, or the default the
/// caller gave). Nothing is logged, and nothing throws but std::bad_alloc where it is said.
///
/// Time: durations and timeouts are unsigned milliseconds; 4294967295 means no limit wherever a
/// wait is made of events.
///
/// Text: UTF-8 unless a name says otherwise. A function that writes into a `char*` without a size
/// needs room for 260 bytes and cuts longer results.
///
/// Ownership: an object owns what it allocates and frees it in its destructor. Classes named "Ref"
/// are views and own nothing. Pointers and references handed in are borrowed for the call.
///
/// Threads: free functions may be called from any thread. An object is for one thread at a time
/// unless its description says more.

#include <zorvex/foundation/debug/debug.h>
#include <zorvex/foundation/debug/debugthread.h>
#include <zorvex/foundation/debug/hangdetector.h>
#include <zorvex/foundation/export.h>
#include <zorvex/foundation/files/bufferedreader.h>
#include <zorvex/foundation/files/file.h>
#include <zorvex/foundation/files/filenames.h>
#include <zorvex/foundation/files/filereader.h>
#include <zorvex/foundation/files/filewriter.h>
#include <zorvex/foundation/files/flocktimed.h>
#include <zorvex/foundation/files/folderiterator.h>
#include <zorvex/foundation/files/lockfile.h>
#include <zorvex/foundation/files/pipe.h>
#include <zorvex/foundation/files/processcopy.h>
#include <zorvex/foundation/files/processtransfer.h>
#include <zorvex/foundation/store/applicationsettings.h>
#include <zorvex/foundation/store/base64.h>
#include <zorvex/foundation/store/blowfish.h>
#include <zorvex/foundation/store/cfstring.h>
#include <zorvex/foundation/store/datfile.h>
#include <zorvex/foundation/store/hashtable.h>
#include <zorvex/foundation/store/hiddensettings.h>
#include <zorvex/foundation/store/list.h>
#include <zorvex/foundation/store/settingcipher.h>
#include <zorvex/foundation/store/settingkeys.h>
#include <zorvex/foundation/store/settingsrecord.h>
#include <zorvex/foundation/store/sharedsettings.h>
#include <zorvex/foundation/store/sizedarray.h>
#include <zorvex/foundation/store/uricodec.h>
#include <zorvex/foundation/store/usersettings.h>
#include <zorvex/foundation/store/xmldocument.h>
#include <zorvex/foundation/store/xmlelement.h>
#include <zorvex/foundation/store/xmlloader.h>
#include <zorvex/foundation/store/xmlsettings.h>
#include <zorvex/foundation/system/administrator.h>
#include <zorvex/foundation/system/application.h>
#include <zorvex/foundation/system/commandline.h>
#include <zorvex/foundation/system/desktop.h>
#include <zorvex/foundation/system/gpu.h>
#include <zorvex/foundation/system/locale.h>
#include <zorvex/foundation/system/memory.h>
#include <zorvex/foundation/system/processlist.h>
#include <zorvex/foundation/system/shell.h>
#include <zorvex/foundation/system/tcp.h>
#include <zorvex/foundation/system/unixapp.h>
#include <zorvex/foundation/system/users.h>
#include <zorvex/foundation/system/versions.h>
#include <zorvex/foundation/text/charsets.h>
#include <zorvex/foundation/text/codepages.h>
#include <zorvex/foundation/text/stringformat.h>
#include <zorvex/foundation/text/stringhelpers.h>
#include <zorvex/foundation/text/stringlong.h>
#include <zorvex/foundation/text/stringshort.h>
#include <zorvex/foundation/text/stringwriter.h>
#include <zorvex/foundation/text/textfile.h>
#include <zorvex/foundation/text/texttonumber.h>
#include <zorvex/foundation/threads/detachedthread.h>
#include <zorvex/foundation/threads/lockobject.h>
#include <zorvex/foundation/threads/mainthread.h>
#include <zorvex/foundation/threads/namedevent.h>
#include <zorvex/foundation/threads/processinterface.h>
#include <zorvex/foundation/threads/queuednotify.h>
#include <zorvex/foundation/threads/runonmainthread.h>
#include <zorvex/foundation/threads/signalobject.h>
#include <zorvex/foundation/threads/systemlock.h>
#include <zorvex/foundation/threads/thread.h>
#include <zorvex/foundation/threads/threadnotifyinterface.h>
#include <zorvex/foundation/time/datetime.h>
#include <zorvex/foundation/time/daytime.h>
#include <zorvex/foundation/time/soundtime.h>

#endif  // ZORVEX_FOUNDATION_FOUNDATION_H
