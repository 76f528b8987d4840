-- Brings a catalogue to version 1.5: what is seen inside files.
--
-- Thumbnails: a picture's small image, fitting 160 x 160 pixels, as the bytes of a PNG
-- or JPEG file; one row per picture that has one. Deleting the unit deletes its row.
CREATE TABLE Thumbnails (
    UnitID INTEGER PRIMARY KEY,
    Width INTEGER NOT NULL,
    Height INTEGER NOT NULL,
    Image BLOB NOT NULL
);

-- ArchiveInfo: a file whose entries are catalogued as its children (an archive, or a
-- disc image lying on the medium): its format, the number of entries and their size
-- uncompressed. The entries are units of their own types, 'd' for a folder and 'f' for
-- a file inside an archive, so that the counters of folders, discs and storages, which
-- count 'D' and 'F' units, stay what is on the medium. Deleting the unit deletes its row.
CREATE TABLE ArchiveInfo (
    UnitID INTEGER PRIMARY KEY,
    Format TEXT NOT NULL,
    EntriesNumber INTEGER NOT NULL DEFAULT 0,
    UncompressedSize INTEGER NOT NULL DEFAULT 0
);

UPDATE DatabaseVersion SET VersionNumber = '1.5';
