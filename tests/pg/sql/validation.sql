-- Full validation, and the messages that say why a value is refused. The
-- messages go to the caller, so they show the value.
SELECT country, value, nidmask.is_valid(country, value) AS valid
  FROM (VALUES ('FR', '269037511604241'), ('FR', '185057800608492'), ('FR', '385057800608491'),
               ('IT', 'RSSMRA85T10A562S'), ('IT', 'RSSMRA85T10A56NH'), ('UK', 'AB123456C'), ('UK', 'DA123456C'),
               ('ES', '12345678Z'), ('ES', '12345678A'), ('US', '123-45-6789'), ('US', '666-12-3456'),
               ('CA', '046454286'), ('CA', '123456789'), ('FR', ''), ('FR', '   ')) AS v(country, value);
SELECT * FROM nidmask.check('FR', '269037511604241');
SELECT * FROM nidmask.check('FR', '385057800608491');
SELECT * FROM nidmask.check('FR', '185057800608492');
SELECT * FROM nidmask.check('US', '666-12-3456');
SELECT * FROM nidmask.check('UK', 'AB 12-34-56-C');
SELECT * FROM nidmask.check('FR', '');
SELECT * FROM nidmask.check('FR', '2690375116042411234567890123456789');
SELECT * FROM nidmask.check('FR', '€69037511604241');
SELECT * FROM nidmask.check('ZZ', '269037511604241');
