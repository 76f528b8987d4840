-- Brings a catalogue to version 1.4: the name index marks the end of every name, so
-- that the names equal to a typed text, and those starting with it, are found in the
-- index alone, without reading the names of every unit that merely holds the text.
--
-- The index is made again over the view UnitNameIndexContent (each name followed by
-- char(1)); every unit waits to be indexed, as after the upgrade to 1.3, and is found
-- by LIKE meanwhile.
DROP TRIGGER UnitNameIndexDelete;
DROP TRIGGER UnitNameIndexRename;
DROP TABLE UnitNameIndex;

CREATE VIEW UnitNameIndexContent AS SELECT UnitID, UnitName || char(1) AS UnitName FROM Units;

CREATE VIRTUAL TABLE UnitNameIndex USING fts5(
    UnitName, content='UnitNameIndexContent', content_rowid='UnitID', tokenize='trigram',
    columnsize=0);

-- As in 1.3; a 'delete' names the indexed text, the name with its end mark.
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

-- The few units with notes, for a search in names and notes: the index reads them
-- without reading every unit.
CREATE INDEX UnitsWithNotes ON Units (UnitID) WHERE UnitNotes IS NOT NULL;

INSERT OR IGNORE INTO UnitNameIndexPending (UnitID) SELECT UnitID FROM Units;

UPDATE DatabaseVersion SET VersionNumber = '1.4';
