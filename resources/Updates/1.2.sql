-- Brings a catalogue to version 1.2: every update of a disc, folder or file from its
-- source is recorded, so that its properties can show when it changed and how much.
--
-- UnitID is the updated unit's id (a unit at the top of its storage); UpdatedAt is the
-- time of the update in UTC, written like every date of the catalogue; the numbers are
-- the entries added, removed, changed, moved and found unreadable, and the unit's files
-- and bytes before and after.
CREATE TABLE UnitUpdates (
    UpdateID INTEGER PRIMARY KEY AUTOINCREMENT,
    UnitID INTEGER NOT NULL,
    UpdatedAt TEXT NOT NULL,
    AddedNumber INTEGER NOT NULL DEFAULT 0,
    RemovedNumber INTEGER NOT NULL DEFAULT 0,
    ChangedNumber INTEGER NOT NULL DEFAULT 0,
    MovedNumber INTEGER NOT NULL DEFAULT 0,
    UnreadableNumber INTEGER NOT NULL DEFAULT 0,
    FilesBefore INTEGER NOT NULL DEFAULT 0,
    FilesAfter INTEGER NOT NULL DEFAULT 0,
    SizeBefore INTEGER NOT NULL DEFAULT 0,
    SizeAfter INTEGER NOT NULL DEFAULT 0
);
CREATE INDEX UnitUpdatesByUnit ON UnitUpdates (UnitID);

UPDATE DatabaseVersion SET VersionNumber = '1.2';
