-- Input no identifier looks like: an error or a stated result, never a
-- crashed backend.
-- 1,000,000-character values.
SELECT nidmask.mask('FR', repeat('1', 1000000));
SELECT nidmask.mask('FR', repeat('1', 1000000), '{"on_reject": "null"}') IS NULL AS rejected_is_null,
       nidmask.mask('US', repeat('1-', 500000), '{"on_reject": "keep"}') = repeat('1-', 500000) AS kept,
       nidmask.is_valid('CA', repeat('9', 1000000)) AS valid;
SELECT message, text FROM nidmask.check('UK', repeat('é', 1000000));
-- Blanks pass through, but not a million of them: more than the column holds.
SELECT nidmask.mask_ssn(repeat(' ', 1000000));
-- Invalid UTF-8 never reaches the extension: the server refuses it first.
SELECT nidmask.mask('FR', convert_from('\x3236c328'::bytea, 'UTF8'));
-- Separators of every kind where each country writes its own (~ below):
-- kept when the country knows them, else the value is rejected (NULL here).
SELECT c.country, s.name, nidmask.mask(c.country, replace(c.form, '~', s.sep), '{"on_reject": "null"}') AS masked
  FROM (VALUES ('FR', '1850578006084~91'), ('IT', 'BNC~LRA~70M52~H501Y'), ('UK', 'JG~10~37~59~A'),
               ('ES', '12345678~Z'), ('US', '123~45~6789'), ('CA', '130~692~544')) AS c(country, form),
       (VALUES ('dash', '-'), ('dot', '.'), ('space', ' '), ('slash', '/'), ('tab', E'\t'),
               ('newline', E'\n'), ('return', E'\r'), ('underscore', '_'), ('comma', ','),
               ('no-break space', U&'\00A0'), ('en dash', U&'\2013'), ('two dashes', '--'),
               ('two spaces', '  ')) AS s(name, sep)
 ORDER BY c.country, s.name;
-- Separators in unusual places.
SELECT nidmask.mask('US', '12-345-6789', '{"on_reject": "null"}') AS misplaced,
       nidmask.mask('US', '123-45 6789', '{"on_reject": "null"}') AS mixed,
       nidmask.mask('US', '-123-45-6789-', '{"on_reject": "null"}') AS around,
       nidmask.mask('US', '---', '{"on_reject": "null"}') AS only_separators,
       nidmask.mask('US', E'123-45-6789\n', '{"on_reject": "null"}') AS trailing_newline;
