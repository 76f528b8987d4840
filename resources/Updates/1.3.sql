-- Brings a catalogue to version 1.3: a name index, so that a name can be found among
-- millions of units without reading every one.
--
-- UnitNameIndex is an FTS5 table with the trigram tokenizer over Units.UnitName: every
-- run of three characters of a name (case folded) leads to the units whose names hold
-- it. It keeps no copy of the names (content='Units'): a search reads them from Units.
-- columnsize=0 leaves out the table of name lengths, which nothing here ranks by.
CREATE VIRTUAL TABLE UnitNameIndex USING fts5(
    UnitName, content='Units', content_rowid='UnitID', tokenize='trigram', columnsize=0);

-- The units whose names are not in the index yet: those with FromUnitID <= UnitID <
-- ToUnitID. An upgraded catalogue starts with every unit it holds there, and the index
-- is then built in steps (or at once by FTS5's 'rebuild'); no row means every name is
-- indexed. Units added, renamed or deleted meanwhile keep the index right through the
-- triggers below, which leave alone the units still waiting.
CREATE TABLE UnitNameIndexPending (
    FromUnitID INTEGER NOT NULL,
    ToUnitID INTEGER NOT NULL
);

CREATE TRIGGER UnitNameIndexInsert AFTER INSERT ON Units
WHEN NOT EXISTS (SELECT 1 FROM UnitNameIndexPending
                 WHERE new.UnitID >= FromUnitID AND new.UnitID < ToUnitID)
BEGIN
    INSERT INTO UnitNameIndex (rowid, UnitName) VALUES (new.UnitID, new.UnitName);
END;

CREATE TRIGGER UnitNameIndexDelete AFTER DELETE ON Units
WHEN NOT EXISTS (SELECT 1 FROM UnitNameIndexPending
                 WHERE old.UnitID >= FromUnitID AND old.UnitID < ToUnitID)
BEGIN
    INSERT INTO UnitNameIndex (UnitNameIndex, rowid, UnitName)
        VALUES ('delete', old.UnitID, old.UnitName);
END;

CREATE TRIGGER UnitNameIndexRename AFTER UPDATE OF UnitName ON Units
WHEN old.UnitName IS NOT new.UnitName
    AND NOT EXISTS (SELECT 1 FROM UnitNameIndexPending
                    WHERE old.UnitID >= FromUnitID AND old.UnitID < ToUnitID)
BEGIN
    INSERT INTO UnitNameIndex (UnitNameIndex, rowid, UnitName)
        VALUES ('delete', old.UnitID, old.UnitName);
    INSERT INTO UnitNameIndex (rowid, UnitName) VALUES (new.UnitID, new.UnitName);
END;

-- Building the index of a large catalogue takes seconds (about 2.5 s a million units),
-- too long to hold up opening it: every unit catalogued so far waits for the build.
INSERT INTO UnitNameIndexPending (FromUnitID, ToUnitID)
    SELECT MIN(UnitID), MAX(UnitID) + 1 FROM Units HAVING COUNT(*) > 0;

UPDATE DatabaseVersion SET VersionNumber = '1.3';
