#pragma once

namespace LocalTimeZone {

// Makes the C library keep the system's time zone once loaded. With TZ unset, glibc
// looks at /etc/localtime again (a stat under a lock shared by all threads) each time
// mktime or tzset runs, which libarchive does for every entry of a zip and Qt for every
// local date it converts: a catalogue of a folder of jar files made hundreds of
// thousands of such calls. Setting TZ to that same file keeps the program's times what
// they were. To be called first thing in main, before any thread starts; a TZ the user
// set is left as it is.
void PinSystemZone();

} // namespace LocalTimeZone
