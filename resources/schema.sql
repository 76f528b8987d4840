-- The empty catalogue. shelfwise-mkdb runs this file into a new database, which the
-- program copies whenever the user starts a new catalogue. The program itself never
-- creates tables; upgrades come as scripts in the Updates folder.
-- @VERSION@ is replaced by the program's major.minor version at build time.

PRAGMA page_size = 4096;
-- "Shwf" in the header: how the desktop tells a catalogue from other SQLite files once
-- the schema no longer fits the first page.
PRAGMA application_id = 1399355238;

CREATE TABLE DatabaseVersion (
    VersionNumber TEXT NOT NULL
);

-- SELECT * FROM Storages is read by position: id, name, notes, the four counters,
-- the date added.
CREATE TABLE Storages (
    StorageID INTEGER PRIMARY KEY AUTOINCREMENT,
    StorageName TEXT NOT NULL,
    StorageNotes TEXT,
    FoldersNumber INTEGER NOT NULL DEFAULT 0,
    DiscsNumber INTEGER NOT NULL DEFAULT 0,
    FilesNumber INTEGER NOT NULL DEFAULT 0,
    StorageSize INTEGER NOT NULL DEFAULT 0,
    DateAdded TEXT NOT NULL DEFAULT (datetime('now', 'localtime'))
);

CREATE TABLE DiscInfo (
    DiscInfoID INTEGER PRIMARY KEY AUTOINCREMENT,
    Label TEXT,
    SerialNumber INTEGER,
    Size INTEGER
);

CREATE TABLE Units (
    UnitID INTEGER PRIMARY KEY AUTOINCREMENT,
    UnitName TEXT NOT NULL,
    UnitNotes TEXT,
    UnitType TEXT NOT NULL,
    StorageID INTEGER NOT NULL,
    ParentUnitID INTEGER,
    UnitSize INTEGER NOT NULL DEFAULT 0,
    SubfilesNumber INTEGER NOT NULL DEFAULT 0,
    SubfoldersNumber INTEGER NOT NULL DEFAULT 0,
    DateAdded TEXT NOT NULL DEFAULT (datetime('now', 'localtime')),
    DateCreated TEXT,
    DateModified TEXT,
    CategoryID INTEGER NOT NULL DEFAULT 1,
    DiscInfoID INTEGER,
    UnitInfoID INTEGER
);

-- Every insert of an import updates each index, so there are few: a folder's children
-- (and, through ParentUnitID IS NULL, a storage's top units), and the disc of a
-- DiscInfo row, which only top units carry. Whole-storage statements (delete a
-- storage, the report) read the table once anyway.
CREATE INDEX UnitsByParent ON Units (ParentUnitID, UnitType);
CREATE INDEX UnitsByDiscInfo ON Units (DiscInfoID) WHERE DiscInfoID IS NOT NULL;
-- The few units with notes (version 1.4 on), for a search in names and notes.
CREATE INDEX UnitsWithNotes ON Units (UnitID) WHERE UnitNotes IS NOT NULL;

CREATE INDEX DiscInfoBySerial ON DiscInfo (SerialNumber);

CREATE TABLE FilmInfo (
    FilmInfoID INTEGER PRIMARY KEY AUTOINCREMENT,
    Duration INTEGER,
    Width INTEGER,
    Height INTEGER,
    Bitrate INTEGER,
    Codec TEXT
);

CREATE TABLE MusicInfo (
    MusicInfoID INTEGER PRIMARY KEY AUTOINCREMENT,
    Duration INTEGER,
    Bitrate INTEGER,
    ChannelsNumber INTEGER,
    SamplingRate INTEGER,
    Artist TEXT,
    Title TEXT,
    Album TEXT,
    Year INTEGER,
    TrackNumber INTEGER,
    Genre TEXT,
    Comments TEXT
);

CREATE TABLE PictureInfo (
    PictureInfoID INTEGER PRIMARY KEY AUTOINCREMENT,
    Width INTEGER,
    Height INTEGER,
    HorizontalResolution INTEGER,
    VerticalResolution INTEGER,
    ColorDepth INTEGER
);

-- Where a disc, folder or file added on its own was read from: the path it was added
-- from, a disc's mount point (or its image file) at the time, NULL otherwise, and when
-- it was scanned, in UTC. Units added before version 1.1 have no row. UnitID is the
-- unit's id; deleting the unit deletes its row.
CREATE TABLE UnitSources (
    UnitID INTEGER PRIMARY KEY,
    SourcePath TEXT NOT NULL,
    MountPoint TEXT,
    ScannedAt TEXT NOT NULL
);

-- Each update of a unit added on its own from its source (version 1.2 on): when (UTC),
-- the entries added, removed, changed, moved and found unreadable, and the unit's files
-- and bytes before and after. Deleting the unit deletes its rows.
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

-- The name index (version 1.3 on; the end mark from 1.4).
-- UnitNameIndex is an FTS5 table with the trigram tokenizer over the units' names: every
-- run of three characters of a name (case folded) leads to the units whose names hold
-- it. It keeps no copy of the names: its content is the view below, each name followed
-- by char(1), a character no typed word holds, so that '^"holiday" + char(1)' finds the
-- names equal to "holiday" and '^"holiday"' those starting with it, in the index alone.
-- columnsize=0 leaves out the table of name lengths, which nothing here ranks by.
CREATE VIEW UnitNameIndexContent AS SELECT UnitID, UnitName || char(1) AS UnitName FROM Units;

CREATE VIRTUAL TABLE UnitNameIndex USING fts5(
    UnitName, content='UnitNameIndexContent', content_rowid='UnitID', tokenize='trigram',
    columnsize=0);

-- The units whose names are not in the index yet, one row each. A unit added to the
-- catalogue waits here (the insert trigger below records it, which costs an addition
-- far less than indexing it row by row would) until CSqliteWrapper::IndexNamesStep
-- indexes the waiting units in bulk after the addition; an upgraded catalogue starts
-- with every unit it holds here. No row means every name is indexed. A search reads
-- the waiting units' names itself. Renames and deletes keep the index right through
-- the triggers below, which leave the index alone for a unit still waiting: FTS5's
-- 'delete' of a row it never indexed would corrupt it. A 'delete' names the indexed
-- text, the name with its end mark.
CREATE TABLE UnitNameIndexPending (
    UnitID INTEGER PRIMARY KEY
);

CREATE TRIGGER UnitNameIndexInsert AFTER INSERT ON Units
BEGIN
    INSERT OR IGNORE INTO UnitNameIndexPending (UnitID) VALUES (new.UnitID);
END;

-- One trigger, its statements in order: a second trigger that forgot the waiting row
-- first would make the first one take the unit for indexed.
CREATE TRIGGER UnitNameIndexDelete AFTER DELETE ON Units
BEGIN
    INSERT INTO UnitNameIndex (UnitNameIndex, rowid, UnitName)
        SELECT 'delete', old.UnitID, old.UnitName || char(1)
        WHERE NOT EXISTS (SELECT 1 FROM UnitNameIndexPending WHERE UnitID = old.UnitID);
    DELETE FROM UnitNameIndexPending WHERE UnitID = old.UnitID;
END;

CREATE TRIGGER UnitNameIndexRename AFTER UPDATE OF UnitName ON Units
WHEN old.UnitName IS NOT new.UnitName
    AND NOT EXISTS (SELECT 1 FROM UnitNameIndexPending WHERE UnitID = old.UnitID)
BEGIN
    INSERT INTO UnitNameIndex (UnitNameIndex, rowid, UnitName)
        VALUES ('delete', old.UnitID, old.UnitName || char(1));
    INSERT INTO UnitNameIndex (rowid, UnitName) VALUES (new.UnitID, new.UnitName || char(1));
END;

-- What is seen inside files (version 1.5 on).
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

-- SELECT * FROM Categories is read as id, name, custom flag.
CREATE TABLE Categories (
    CategoryID INTEGER PRIMARY KEY AUTOINCREMENT,
    Name TEXT NOT NULL,
    IsCustom INTEGER NOT NULL DEFAULT 0
);

-- SELECT * FROM FileExtensions is read as extension, category.
CREATE TABLE FileExtensions (
    Name TEXT NOT NULL,
    CategoryID INTEGER NOT NULL
);
CREATE INDEX FileExtensionsByName ON FileExtensions (Name);
CREATE INDEX FileExtensionsByCategory ON FileExtensions (CategoryID);

INSERT INTO DatabaseVersion (VersionNumber) VALUES ('@VERSION@');

INSERT INTO Categories (CategoryID, Name, IsCustom) VALUES (1, 'General', 0);
INSERT INTO Categories (CategoryID, Name, IsCustom) VALUES (2, 'Film', 0);
INSERT INTO Categories (CategoryID, Name, IsCustom) VALUES (3, 'Music', 0);
INSERT INTO Categories (CategoryID, Name, IsCustom) VALUES (4, 'Picture', 0);

-- Film
INSERT INTO FileExtensions (Name, CategoryID) VALUES
    ('3gp', 2), ('asf', 2), ('avi', 2), ('divx', 2), ('flv', 2), ('m2ts', 2), ('m4v', 2),
    ('mkv', 2), ('mov', 2), ('mp4', 2), ('mpeg', 2), ('mpg', 2), ('mts', 2), ('ogv', 2),
    ('ts', 2), ('vob', 2), ('webm', 2), ('wmv', 2);

-- Music
INSERT INTO FileExtensions (Name, CategoryID) VALUES
    ('aac', 3), ('aif', 3), ('aiff', 3), ('ape', 3), ('flac', 3), ('m4a', 3), ('mid', 3),
    ('midi', 3), ('mka', 3), ('mp2', 3), ('mp3', 3), ('mpc', 3), ('oga', 3), ('ogg', 3),
    ('opus', 3), ('ra', 3), ('wav', 3), ('wma', 3), ('wv', 3);

-- Picture
INSERT INTO FileExtensions (Name, CategoryID) VALUES
    ('bmp', 4), ('cr2', 4), ('dng', 4), ('gif', 4), ('heic', 4), ('ico', 4), ('jpe', 4),
    ('jpeg', 4), ('jpg', 4), ('nef', 4), ('pcx', 4), ('png', 4), ('psd', 4), ('svg', 4),
    ('tga', 4), ('tif', 4), ('tiff', 4), ('webp', 4);
