-- The sample catalogue test.db3 that the program offers on its first start.
-- shelfwise-mkdb runs schema.sql and then this file into one new database.
--
-- Every id is written out so that the catalogue is the same on every build and the
-- tests can name its units. Discs and folders are inserted with zero counters; the
-- statements at the end compute every counter of the units and the storages from
-- the rows, the way the import leaves them.

-- Storage 4 stays empty on purpose.
INSERT INTO Storages (StorageID, StorageName, StorageNotes, DateAdded) VALUES
    (1, 'Living room shelf', 'Left half: films, right half: music.', '2019-11-02 18:40:12'),
    (2, 'Box 1 (attic)', 'Old backups, 2004-2012. The box is heavy: lift it from below.',
        '2020-01-19 10:05:47'),
    (3, 'Car', NULL, '2021-07-15 08:12:30'),
    (4, 'Anna''s drawer', 'Kept free for the Blu-ray box sets.', '2022-03-06 21:00:00');

-- Volume data: 700 MB CDs (737,280,000 bytes), 4.7 GB DVDs, a 25 GB Blu-ray disc.
INSERT INTO DiscInfo (DiscInfoID, Label, SerialNumber, Size) VALUES
    (1, 'HOLIDAY_2019', 1561996351, 4700372992),
    (2, 'BLADE_RUNNER_2049', 2847561309, 25025314816),
    (3, 'MUSIC_VOL1', 2882343476, 737280000),
    (4, 'CDR_BLANK', 4027056128, 737280000),
    (5, 'BACKUP_2008_03', 3141592653, 4700372992),
    (6, 'PHOTOS_2011', 2718281828, 737280000),
    (7, 'ROAD_TRIP', 1618033988, 737280000);

-- Durations in seconds, bit rates in kbit/s.
INSERT INTO FilmInfo (FilmInfoID, Duration, Width, Height, Bitrate, Codec) VALUES
    (1, 612, 1920, 1080, 9600, 'H.264'),
    (2, 344, 1920, 1080, 9580, 'H.264'),
    (3, 437, 1920, 1080, 9570, 'H.264'),
    (4, 1075, 1920, 1080, 9590, 'H.264'),
    (5, 81, 3840, 2160, 9520, 'HEVC'),
    (6, 95, 1920, 1080, 2380, 'H.264'),
    (7, 9780, 1920, 1080, 19320, 'H.264'),
    (8, 262, 640, 480, 4800, 'MJPEG'),
    (9, 58, 1920, 1080, 28900, 'H.264'),
    (10, 3612, 2560, 1440, 10700, 'H.264');

INSERT INTO MusicInfo (MusicInfoID, Duration, Bitrate, ChannelsNumber, SamplingRate, Artist,
                       Title, Album, Year, TrackNumber, Genre, Comments) VALUES
    (1, 223, 320, 2, 44100, 'Queen', 'Death on Two Legs (Dedicated to...)',
        'A Night at the Opera', 1975, 1, 'Rock', NULL),
    (2, 66, 320, 2, 44100, 'Queen', 'Lazing on a Sunday Afternoon', 'A Night at the Opera',
        1975, 2, 'Rock', NULL),
    (3, 355, 320, 2, 44100, 'Queen', 'Bohemian Rhapsody', 'A Night at the Opera', 1975, 11,
        'Rock', 'Remastered 2011'),
    (4, 209, 320, 2, 44100, 'Queen', 'Don''t Stop Me Now', 'Jazz', 1978, 12, 'Rock', NULL),
    (5, 255, 320, 2, 44100, 'Björk', 'Hunter', 'Homogenic', 1997, 1, 'Electronic', NULL),
    (6, 305, 192, 2, 44100, 'Björk', 'Jóga', 'Homogenic', 1997, 2, 'Electronic', NULL),
    (7, 398, 631, 2, 44100, 'Sabres of Paradise', 'Smokebelch II (Beatless Mix)',
        'Café del Mar Volumen Uno', 1994, 1, 'Chill-out', 'Ripped from the 1994 CD'),
    (8, 218, 320, 2, 44100, 'Fleetwood Mac', 'Go Your Own Way', 'Rumours', 1977, 5, 'Rock',
        NULL),
    (9, 199, 256, 2, 44100, 'Kraftwerk', 'Autobahn (single edit)', 'Autobahn', 1974, 1,
        'Electronic', NULL),
    (10, 268, 320, 2, 48000, 'Sigur Rós', 'Hoppípolla', 'Takk...', 2005, 2, 'Post-rock',
        NULL),
    (11, 161, 192, 2, 44100, 'The Beach Boys', 'I Get Around', 'All Summer Long', 1964, 1,
        'Pop', NULL),
    (12, 120, 160, 1, 22050, 'Ray Charles', 'Hit the Road Jack', NULL, 1961, NULL, 'Soul',
        'Mono single');

-- Resolutions in DPI, colour depth in bits.
INSERT INTO PictureInfo (PictureInfoID, Width, Height, HorizontalResolution,
                         VerticalResolution, ColorDepth) VALUES
    (1, 500, 500, 72, 72, 24),
    (2, 1200, 1200, 300, 300, 24),
    (3, 3072, 2304, 180, 180, 24),
    (4, 3072, 2304, 180, 180, 24),
    (5, 2592, 1944, 72, 72, 24),
    (6, 3072, 2304, 180, 180, 24),
    (7, 5184, 3456, 72, 72, 42),
    (8, 5184, 3456, 72, 72, 24),
    (9, 5184, 3456, 72, 72, 24),
    (10, 2480, 3508, 300, 300, 24),
    (11, 2550, 3300, 300, 300, 8);

-- Living room shelf: a DVD of holiday films, a Blu-ray film, a music CD and a blank
-- CD-R, which was imported empty.
INSERT INTO Units (UnitID, UnitName, UnitNotes, UnitType, StorageID, ParentUnitID, UnitSize,
                   DateAdded, DateCreated, DateModified, CategoryID, DiscInfoID, UnitInfoID)
VALUES
    (1, 'Holiday Films 2019', 'Edited with Kdenlive; the raw footage is on the external drive.',
        'C', 1, NULL, 0, '2019-11-02 18:44:03', NULL, NULL, 1, 1, NULL),
    (2, 'Italy', NULL, 'D', 1, 1, 0, '2019-11-02 18:44:03', NULL, NULL, 1, NULL, NULL),
    (3, 'Rome', NULL, 'D', 1, 2, 0, '2019-11-02 18:44:03', NULL, NULL, 1, NULL, NULL),
    (4, 'Day 1 - Colosseum', NULL, 'D', 1, 3, 0, '2019-11-02 18:44:03', NULL, NULL, 1, NULL,
        NULL),
    (5, 'colosseum_walk.mp4', NULL, 'F', 1, 4, 734003200, '2019-11-02 18:44:03',
        '2019-08-12 09:31:44', '2019-10-27 20:15:02', 2, NULL, 1),
    (6, 'forum_panorama.mp4', NULL, 'F', 1, 4, 412090368, '2019-11-02 18:44:03',
        '2019-08-12 11:02:19', '2019-10-27 20:31:40', 2, NULL, 2),
    (7, 'Day 2 - Vatican', NULL, 'D', 1, 3, 0, '2019-11-02 18:44:03', NULL, NULL, 1, NULL,
        NULL),
    (8, 'st_peters_square.mp4', 'The best of the trip.', 'F', 1, 7, 523239424,
        '2019-11-02 18:44:03', '2019-08-13 08:47:55', '2019-10-28 19:02:11', 2, NULL, 3),
    (9, 'notes.txt', NULL, 'F', 1, 7, 2048, '2019-11-02 18:44:03', '2019-08-13 21:10:00',
        '2019-08-13 21:14:36', 1, NULL, NULL),
    (10, 'Florence', NULL, 'D', 1, 2, 0, '2019-11-02 18:44:03', NULL, NULL, 1, NULL, NULL),
    (11, 'Ponte Vecchio at dusk.mp4', NULL, 'F', 1, 10, 1288490188, '2019-11-02 18:44:03',
        '2019-08-15 20:05:31', '2019-10-30 22:48:09', 2, NULL, 4),
    (12, 'Uffizi queue (timelapse).mov', NULL, 'F', 1, 10, 96468992, '2019-11-02 18:44:03',
        '2019-08-16 09:00:12', '2019-08-16 10:12:50', 2, NULL, 5),
    (13, 'README.txt', NULL, 'F', 1, 1, 1523, '2019-11-02 18:44:03', '2019-11-01 22:03:17',
        '2019-11-01 22:03:17', 1, NULL, NULL),

    (20, 'Blade Runner 2049', 'Region B; bought in 2018.', 'C', 1, NULL, 0,
        '2019-11-03 15:20:41', NULL, NULL, 1, 2, NULL),
    (21, 'BDMV', NULL, 'D', 1, 20, 0, '2019-11-03 15:20:41', NULL, NULL, 1, NULL, NULL),
    (22, 'STREAM', NULL, 'D', 1, 21, 0, '2019-11-03 15:20:41', NULL, NULL, 1, NULL, NULL),
    (23, '00000.m2ts', NULL, 'F', 1, 22, 28311552, '2019-11-03 15:20:41',
        '2018-01-22 12:00:00', '2018-01-22 12:00:00', 2, NULL, 6),
    (24, '00001.m2ts', 'The main film.', 'F', 1, 22, 23622320128, '2019-11-03 15:20:41',
        '2018-01-22 12:00:00', '2018-01-22 12:00:00', 2, NULL, 7),
    (25, 'PLAYLIST', NULL, 'D', 1, 21, 0, '2019-11-03 15:20:41', NULL, NULL, 1, NULL, NULL),
    (26, '00000.mpls', NULL, 'F', 1, 25, 534, '2019-11-03 15:20:41', '2018-01-22 12:00:00',
        '2018-01-22 12:00:00', 1, NULL, NULL),
    (27, '00001.mpls', NULL, 'F', 1, 25, 1982, '2019-11-03 15:20:41', '2018-01-22 12:00:00',
        '2018-01-22 12:00:00', 1, NULL, NULL),
    (28, 'CLIPINF', NULL, 'D', 1, 21, 0, '2019-11-03 15:20:41', NULL, NULL, 1, NULL, NULL),
    (29, '00000.clpi', NULL, 'F', 1, 28, 340, '2019-11-03 15:20:41', '2018-01-22 12:00:00',
        '2018-01-22 12:00:00', 1, NULL, NULL),
    (30, '00001.clpi', NULL, 'F', 1, 28, 12780, '2019-11-03 15:20:41', '2018-01-22 12:00:00',
        '2018-01-22 12:00:00', 1, NULL, NULL),
    (31, 'AUXDATA', NULL, 'D', 1, 21, 0, '2019-11-03 15:20:41', NULL, NULL, 1, NULL, NULL),
    (32, 'CERTIFICATE', NULL, 'D', 1, 20, 0, '2019-11-03 15:20:41', NULL, NULL, 1, NULL, NULL),
    (33, 'id.bdmv', NULL, 'F', 1, 32, 104, '2019-11-03 15:20:41', '2018-01-22 12:00:00',
        '2018-01-22 12:00:00', 1, NULL, NULL),

    (40, 'Music Collection Vol. 1', NULL, 'C', 1, NULL, 0, '2019-11-09 11:02:58', NULL, NULL, 1,
        3, NULL),
    (41, 'Queen', NULL, 'D', 1, 40, 0, '2019-11-09 11:02:58', NULL, NULL, 1, NULL, NULL),
    (42, 'A Night at the Opera (1975)', NULL, 'D', 1, 41, 0, '2019-11-09 11:02:58', NULL, NULL,
        1, NULL, NULL),
    (43, '01 - Death on Two Legs.mp3', NULL, 'F', 1, 42, 8947712, '2019-11-09 11:02:58',
        '2011-05-14 17:20:03', '2011-05-14 17:20:03', 3, NULL, 1),
    (44, '02 - Lazing on a Sunday Afternoon.mp3', NULL, 'F', 1, 42, 2625536,
        '2019-11-09 11:02:58', '2011-05-14 17:20:09', '2011-05-14 17:20:09', 3, NULL, 2),
    (45, '11 - Bohemian Rhapsody.mp3', NULL, 'F', 1, 42, 14123008, '2019-11-09 11:02:58',
        '2011-05-14 17:21:40', '2011-05-14 17:21:40', 3, NULL, 3),
    (46, 'folder.jpg', NULL, 'F', 1, 42, 48213, '2019-11-09 11:02:58', '2011-05-14 17:19:58',
        '2011-05-14 17:19:58', 4, NULL, 1),
    (47, 'Jazz (1978)', NULL, 'D', 1, 41, 0, '2019-11-09 11:02:58', NULL, NULL, 1, NULL, NULL),
    (48, '12 - Don''t Stop Me Now.mp3', NULL, 'F', 1, 47, 8404992, '2019-11-09 11:02:58',
        '2011-06-02 19:45:31', '2011-06-02 19:45:31', 3, NULL, 4),
    (49, 'Björk', NULL, 'D', 1, 40, 0, '2019-11-09 11:02:58', NULL, NULL, 1, NULL, NULL),
    (50, 'Homogenic (1997)', NULL, 'D', 1, 49, 0, '2019-11-09 11:02:58', NULL, NULL, 1, NULL,
        NULL),
    (51, '01 - Hunter.mp3', NULL, 'F', 1, 50, 9650176, '2019-11-09 11:02:58',
        '2012-02-11 14:02:37', '2012-02-11 14:02:37', 3, NULL, 5),
    (52, '02 - Jóga.mp3', NULL, 'F', 1, 50, 7340032, '2019-11-09 11:02:58',
        '2012-02-11 14:03:05', '2012-02-11 14:03:05', 3, NULL, 6),
    (53, 'cover.png', NULL, 'F', 1, 50, 312117, '2019-11-09 11:02:58', '2012-02-11 14:01:50',
        '2012-02-11 14:01:50', 4, NULL, 2),
    (54, 'Café del Mar', 'Only the first volume; the others are on loan.', 'D', 1, 40, 0,
        '2019-11-09 11:02:58', NULL, NULL, 1, NULL, NULL),
    (55, 'Volumen Uno - 01 - Sabres of Paradise.flac', NULL, 'F', 1, 54, 31457280,
        '2019-11-09 11:02:58', '2013-08-30 23:11:04', '2013-08-30 23:11:04', 3, NULL, 7),
    (56, 'playlist.m3u', NULL, 'F', 1, 54, 412, '2019-11-09 11:02:58', '2013-08-30 23:12:45',
        '2013-09-01 10:00:18', 1, NULL, NULL),

    (60, 'Blank CD-R', 'From a spindle of 50; reads as empty.', 'C', 1, NULL, 0,
        '2019-11-09 11:30:00', NULL, NULL, 1, 4, NULL);

-- Box 1 (attic): two backup discs and a folder of scans added straight to the storage.
INSERT INTO Units (UnitID, UnitName, UnitNotes, UnitType, StorageID, ParentUnitID, UnitSize,
                   DateAdded, DateCreated, DateModified, CategoryID, DiscInfoID, UnitInfoID)
VALUES
    (70, 'Backup 2008-03', NULL, 'C', 2, NULL, 0, '2020-01-19 10:09:12', NULL, NULL, 1, 5, NULL),
    (71, 'Documents', NULL, 'D', 2, 70, 0, '2020-01-19 10:09:12', NULL, NULL, 1, NULL, NULL),
    (72, 'Letters', NULL, 'D', 2, 71, 0, '2020-01-19 10:09:12', NULL, NULL, 1, NULL, NULL),
    (73, '2007', NULL, 'D', 2, 72, 0, '2020-01-19 10:09:12', NULL, NULL, 1, NULL, NULL),
    (74, 'Bank - change of address.doc', NULL, 'F', 2, 73, 28672, '2020-01-19 10:09:12',
        '2007-04-03 19:22:10', '2007-04-03 19:40:56', 1, NULL, NULL),
    (75, 'Letter to Mrs O''Brien.odt', NULL, 'F', 2, 73, 18432, '2020-01-19 10:09:12',
        '2007-12-20 16:05:33', '2007-12-21 09:12:04', 1, NULL, NULL),
    (76, 'template.dot', NULL, 'F', 2, 72, 40960, '2020-01-19 10:09:12', '2004-09-01 08:00:00',
        '2006-02-17 12:31:45', 1, NULL, NULL),
    (77, 'Tax return 2007.pdf', 'Keep until 2018.', 'F', 2, 71, 734553, '2020-01-19 10:09:12',
        '2008-02-28 21:47:19', '2008-02-28 21:47:19', 1, NULL, NULL),
    (78, 'Recipes', NULL, 'D', 2, 71, 0, '2020-01-19 10:09:12', NULL, NULL, 1, NULL, NULL),
    (79, 'Grandma''s apple pie.txt', NULL, 'F', 2, 78, 2311, '2020-01-19 10:09:12',
        '2005-10-09 15:16:17', '2005-10-09 15:16:17', 1, NULL, NULL),
    (80, 'Photos', NULL, 'D', 2, 70, 0, '2020-01-19 10:09:12', NULL, NULL, 1, NULL, NULL),
    (81, '2007', NULL, 'D', 2, 80, 0, '2020-01-19 10:09:12', NULL, NULL, 1, NULL, NULL),
    (82, 'Summer', NULL, 'D', 2, 81, 0, '2020-01-19 10:09:12', NULL, NULL, 1, NULL, NULL),
    (83, 'IMG_0412.JPG', NULL, 'F', 2, 82, 2457600, '2020-01-19 10:09:12',
        '2007-07-21 13:04:51', '2007-07-21 13:04:51', 4, NULL, 3),
    (84, 'IMG_0413.JPG', NULL, 'F', 2, 82, 2510848, '2020-01-19 10:09:12',
        '2007-07-21 13:05:20', '2007-07-21 13:05:20', 4, NULL, 4),
    (85, 'Crème brûlée in Lyon.jpg', NULL, 'F', 2, 82, 1834001, '2020-01-19 10:09:12',
        '2007-07-24 20:31:02', '2007-08-02 18:44:30', 4, NULL, 5),
    (86, 'beach.avi', NULL, 'F', 2, 82, 157286400, '2020-01-19 10:09:12',
        '2007-07-22 16:40:11', '2007-07-22 16:44:33', 2, NULL, 8),
    (87, 'Winter', NULL, 'D', 2, 81, 0, '2020-01-19 10:09:12', NULL, NULL, 1, NULL, NULL),
    (88, 'IMG_0977.JPG', NULL, 'F', 2, 87, 2232320, '2020-01-19 10:09:12',
        '2007-12-27 11:11:11', '2007-12-27 11:11:11', 4, NULL, 6),
    (89, 'Thumbs.db', NULL, 'F', 2, 87, 20480, '2020-01-19 10:09:12', '2007-12-27 11:30:00',
        '2008-01-05 09:00:41', 1, NULL, NULL),
    (90, 'Software', NULL, 'D', 2, 70, 0, '2020-01-19 10:09:12', NULL, NULL, 1, NULL, NULL),
    (91, 'setup.exe', NULL, 'F', 2, 90, 47185920, '2020-01-19 10:09:12', '2006-11-30 10:00:00',
        '2006-11-30 10:00:00', 1, NULL, NULL),
    (92, 'Serial numbers.txt', NULL, 'F', 2, 90, 318, '2020-01-19 10:09:12',
        '2006-11-30 10:20:00', '2007-03-01 08:15:27', 1, NULL, NULL),

    (100, 'Photos 2011', 'A copy of the photos kept on the NAS.', 'C', 2, NULL, 0,
        '2020-01-19 10:22:35', NULL, NULL, 1, 6, NULL),
    (101, 'DCIM', NULL, 'D', 2, 100, 0, '2020-01-19 10:22:35', NULL, NULL, 1, NULL, NULL),
    (102, '100CANON', NULL, 'D', 2, 101, 0, '2020-01-19 10:22:35', NULL, NULL, 1, NULL, NULL),
    (103, 'IMG_1001.CR2', NULL, 'F', 2, 102, 25165824, '2020-01-19 10:22:35',
        '2011-04-23 10:14:02', '2011-04-23 10:14:02', 4, NULL, 7),
    (104, 'IMG_1001.JPG', NULL, 'F', 2, 102, 6291456, '2020-01-19 10:22:35',
        '2011-04-23 10:14:02', '2011-04-23 10:14:02', 4, NULL, 8),
    (105, 'MVI_1002.MOV', NULL, 'F', 2, 102, 209715200, '2020-01-19 10:22:35',
        '2011-04-23 10:16:40', '2011-04-23 10:17:38', 2, NULL, 9),
    (106, 'IMG_1003.JPG', NULL, 'F', 2, 102, 5976883, '2020-01-19 10:22:35',
        '2011-04-23 10:20:15', '2011-04-23 10:20:15', 4, NULL, 9),
    (107, 'AUTORUN.INF', NULL, 'F', 2, 100, 54, '2020-01-19 10:22:35', '2011-05-01 12:00:00',
        '2011-05-01 12:00:00', 1, NULL, NULL),

    (110, 'Scans', 'Scanned from the paper originals in the blue folder.', 'D', 2, NULL, 0,
        '2020-02-02 16:48:20', NULL, NULL, 1, 0, NULL),
    (111, 'Certificates', NULL, 'D', 2, 110, 0, '2020-02-02 16:48:20', NULL, NULL, 1, NULL,
        NULL),
    (112, 'Birth certificate.pdf', NULL, 'F', 2, 111, 1536000, '2020-02-02 16:48:20',
        '2020-02-01 11:20:45', '2020-02-01 11:20:45', 1, NULL, NULL),
    (113, 'Dyplom – Żaneta Wiśniewska.png', NULL, 'F', 2, 111, 4718592, '2020-02-02 16:48:20',
        '2020-02-01 11:24:09', '2020-02-01 11:24:09', 4, NULL, 10),
    (114, 'scan0001.tif', NULL, 'F', 2, 110, 25000000, '2020-02-02 16:48:20',
        '2020-02-01 11:02:33', '2020-02-01 11:02:33', 4, NULL, 11);

-- Car: a music CD and two files added straight to the storage, one of them bigger than
-- 4 GiB.
INSERT INTO Units (UnitID, UnitName, UnitNotes, UnitType, StorageID, ParentUnitID, UnitSize,
                   DateAdded, DateCreated, DateModified, CategoryID, DiscInfoID, UnitInfoID)
VALUES
    (120, 'Road Trip Mix', 'In the glovebox.', 'C', 3, NULL, 0, '2021-07-15 08:15:02', NULL,
        NULL, 1, 7, NULL),
    (121, '01 - Fleetwood Mac - Go Your Own Way.mp3', NULL, 'F', 3, 120, 8650752,
        '2021-07-15 08:15:02', '2021-07-10 22:41:13', '2021-07-10 22:41:13', 3, NULL, 8),
    (122, '02 - Kraftwerk - Autobahn (single edit).mp3', NULL, 'F', 3, 120, 6291456,
        '2021-07-15 08:15:02', '2021-07-10 22:41:40', '2021-07-10 22:41:40', 3, NULL, 9),
    (123, '03 - Sigur Rós - Hoppípolla.mp3', NULL, 'F', 3, 120, 10747904,
        '2021-07-15 08:15:02', '2021-07-10 22:42:02', '2021-07-10 22:42:02', 3, NULL, 10),
    (124, '04 - The Beach Boys - I Get Around.ogg', NULL, 'F', 3, 120, 3932160,
        '2021-07-15 08:15:02', '2021-07-10 22:42:30', '2021-07-10 22:42:30', 3, NULL, 11),
    (125, 'Bonus', NULL, 'D', 3, 120, 0, '2021-07-15 08:15:02', NULL, NULL, 1, NULL, NULL),
    (126, 'Hit the Road Jack (mono).wma', NULL, 'F', 3, 125, 2457600, '2021-07-15 08:15:02',
        '2021-07-11 09:03:12', '2021-07-11 09:03:12', 3, NULL, 12),
    (127, 'cover.jpg', NULL, 'F', 3, 125, 0, '2021-07-15 08:15:02', '2021-07-11 09:05:00',
        '2021-07-11 09:05:00', 4, NULL, NULL),

    (130, 'Road atlas Europe 2020.pdf', 'Offline copy for the tablet.', 'F', 3, NULL, 88080384,
        '2021-07-15 08:20:44', '2020-03-02 14:55:10', '2020-03-02 14:55:10', 1, NULL, NULL),
    (131, 'Dashcam 2021-07-14.mp4', NULL, 'F', 3, NULL, 4831838208, '2021-07-15 08:31:09',
        '2021-07-14 07:02:51', '2021-07-14 18:40:26', 2, 0, 10);

-- The counters. Subtree lists every (container, unit below it) pair; a temporary table
-- never reaches the catalogue file.
CREATE TEMP TABLE Subtree AS
    WITH RECURSIVE Below (ContainerID, UnitID) AS (
        SELECT ParentUnitID, UnitID FROM Units WHERE ParentUnitID IS NOT NULL
        UNION ALL
        SELECT Below.ContainerID, Units.UnitID
            FROM Below INNER JOIN Units ON Units.ParentUnitID = Below.UnitID)
    SELECT Below.ContainerID, Units.UnitType, Units.UnitSize
        FROM Below INNER JOIN Units ON Units.UnitID = Below.UnitID;

UPDATE Units SET
    SubfilesNumber = (SELECT COUNT(*) FROM Subtree
                      WHERE ContainerID = Units.UnitID AND UnitType = 'F'),
    SubfoldersNumber = (SELECT COUNT(*) FROM Subtree
                        WHERE ContainerID = Units.UnitID AND UnitType = 'D'),
    UnitSize = (SELECT IFNULL(SUM(UnitSize), 0) FROM Subtree
                WHERE ContainerID = Units.UnitID AND UnitType = 'F')
WHERE UnitType IN ('C', 'D');

DROP TABLE Subtree;

-- A disc imported empty (no files, no folders, no bytes) is not among the storage's
-- discs.
UPDATE Storages SET
    FilesNumber = (SELECT COUNT(*) FROM Units
                   WHERE Units.StorageID = Storages.StorageID AND UnitType = 'F'),
    FoldersNumber = (SELECT COUNT(*) FROM Units
                     WHERE Units.StorageID = Storages.StorageID AND UnitType = 'D'),
    DiscsNumber = (SELECT COUNT(*) FROM Units
                   WHERE Units.StorageID = Storages.StorageID AND UnitType = 'C'
                     AND (SubfilesNumber <> 0 OR SubfoldersNumber <> 0 OR UnitSize <> 0)),
    StorageSize = (SELECT IFNULL(SUM(UnitSize), 0) FROM Units
                   WHERE Units.StorageID = Storages.StorageID AND UnitType = 'F');

-- Where two of the discs were read from, as every disc, folder and file added from
-- catalogue version 1.1 on keeps it: one from a drive, one from an image file. The
-- scan times are in UTC; the other units have no row, like those of an older catalogue.
INSERT INTO UnitSources (UnitID, SourcePath, MountPoint, ScannedAt) VALUES
    (1, '/media/anna/HOLIDAY_2019', '/media/anna/HOLIDAY_2019', '2019-11-02 17:44:03'),
    (70, '/home/anna/Images/backup-2008-03.iso', '/home/anna/Images/backup-2008-03.iso',
        '2020-01-19 09:09:12');

-- The disc read from the drive was updated once from its source, as version 1.2 on
-- records it: nothing had changed then.
INSERT INTO UnitUpdates (UnitID, UpdatedAt, AddedNumber, RemovedNumber, ChangedNumber,
        MovedNumber, UnreadableNumber, FilesBefore, FilesAfter, SizeBefore, SizeAfter)
    SELECT 1, '2020-02-01 10:00:00', 0, 0, 0, 0, 0, SubfilesNumber, SubfilesNumber,
        UnitSize, UnitSize FROM Units WHERE UnitID = 1;

-- The sample's names are indexed, as they would be once their additions had ended.
INSERT INTO UnitNameIndex (UnitNameIndex) VALUES ('rebuild');
DELETE FROM UnitNameIndexPending;
