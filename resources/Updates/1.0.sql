-- Brings a catalogue to version 1.0, the first schema of this program: the tables and
-- columns of an older catalogue are already the ones 1.0 reads, so only the version
-- changes.
--
-- The program runs every script of this folder whose version is above the catalogue's,
-- in order, inside one transaction; each script sets the version it brings itself.
UPDATE DatabaseVersion SET VersionNumber = '1.0';
