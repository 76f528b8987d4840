-- Brings a catalogue to version 1.1: every disc, folder or file added from now on
-- keeps where it came from, so that it can be walked again later. Units catalogued
-- before have no row here; nothing can tell now where they were read from.
--
-- UnitID is the unit's own id (Units never reuses one); MountPoint is the disc's mount
-- point, or the image file, at the time of the scan, NULL for a folder or a file;
-- ScannedAt is the time of the scan in UTC, written like every date of the catalogue.
CREATE TABLE UnitSources (
    UnitID INTEGER PRIMARY KEY,
    SourcePath TEXT NOT NULL,
    MountPoint TEXT,
    ScannedAt TEXT NOT NULL
);

UPDATE DatabaseVersion SET VersionNumber = '1.1';
