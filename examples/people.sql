-- The SQLite example: `make demo` builds people.db from this file and masks
-- its identifier columns in place. Columns named <country>_<what> hold that
-- country's identifiers.
CREATE TABLE person (
    id INTEGER PRIMARY KEY,
    name TEXT NOT NULL,
    fr_nir TEXT,
    us_ssn TEXT,
    ca_sin INTEGER
);
INSERT INTO person (name, fr_nir, us_ssn, ca_sin) VALUES
    ('Claire Martin', '269037511604241', '536-22-8079', 46454286),
    ('Jean Dupont', '1850578006084-91', '401-14-2256', 130692544),
    ('Wei Li', NULL, NULL, 193456787),
    ('Anne Roux', '186072B12001535', '', 746321892),
    ('Paul Girard', '2010133001081 29', '219-09-9999', NULL),
    ('Invalid Example', '18505780060849', '000-00-0000', 123);
