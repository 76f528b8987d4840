-- Brings a catalogue to version 1.3: a name index, so that a name can be found among
-- millions of units without reading every one.
--
-- UnitNameIndex is an FTS5 table with the trigram tokenizer over Units.UnitName: every
-- run of three characters of a name (case folded) leads to the units whose names hold
-- it. It keeps no copy of the names (content='Units'): a search reads them from Units.
-- columnsize=0 leaves out the table of name lengths, which nothing here ranks by.
-- The schema outgrows the first page here, where the desktop looked for the tables'
-- names: the header's application id ("Shwf") tells a catalogue from now on.
PRAGMA application_id = 1399355238;

CREATE VIRTUAL TABLE UnitNameIndex USING fts5(
    UnitName, content='Units', content_rowid='UnitID', tokenize='trigram', columnsize=0);

-- The units whose names are not in the index yet, one row each. A unit added to the
-- catalogue waits here (the insert trigger below records it, which costs an addition
-- far less than indexing it row by row would) until CSqliteWrapper::IndexNamesStep
-- indexes the waiting units in bulk after the addition; an upgraded catalogue starts
-- with every unit it holds here. No row means every name is indexed. A search reads
-- the waiting units' names itself. Renames and deletes keep the index right through
-- the triggers below, which leave the index alone for a unit still waiting: FTS5's
-- 'delete' of a row it never indexed would corrupt it.
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
        SELECT 'delete', old.UnitID, old.UnitName
        WHERE NOT EXISTS (SELECT 1 FROM UnitNameIndexPending WHERE UnitID = old.UnitID);
    DELETE FROM UnitNameIndexPending WHERE UnitID = old.UnitID;
END;

CREATE TRIGGER UnitNameIndexRename AFTER UPDATE OF UnitName ON Units
WHEN old.UnitName IS NOT new.UnitName
    AND NOT EXISTS (SELECT 1 FROM UnitNameIndexPending WHERE UnitID = old.UnitID)
BEGIN
    INSERT INTO UnitNameIndex (UnitNameIndex, rowid, UnitName)
        VALUES ('delete', old.UnitID, old.UnitName);
    INSERT INTO UnitNameIndex (rowid, UnitName) VALUES (new.UnitID, new.UnitName);
END;

-- Building the index of a large catalogue takes seconds (about 3 s a million units),
-- too long to hold up opening it: every unit catalogued so far waits for the build.
INSERT INTO UnitNameIndexPending (UnitID) SELECT UnitID FROM Units;

UPDATE DatabaseVersion SET VersionNumber = '1.3';
