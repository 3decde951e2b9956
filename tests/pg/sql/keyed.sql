-- Keyed encryption: the key from a table, never written in a statement.
CREATE TABLE keys (name text PRIMARY KEY, key bytea NOT NULL);
INSERT INTO keys VALUES ('main', decode(repeat('00112233445566778899aabbccddeeff', 2), 'hex')),
                        ('other', decode(repeat('ffeeddccbbaa99887766554433221100', 2), 'hex'));
CREATE TABLE ids (country text, value text);
INSERT INTO ids VALUES ('FR', '269037511604241'), ('IT', 'RSSMRA85T10A562S'), ('UK', 'AB123456C'),
                       ('ES', '12345678Z'), ('US', '123-45-6789'), ('CA', '046454286');
-- Encrypted values keep their country's form, and decrypt gives the value back.
SELECT i.country, i.value, e.enc, nidmask.decrypt(i.country, e.enc, k.key, 'person') AS dec
  FROM ids i, keys k, LATERAL (SELECT nidmask.encrypt(i.country, i.value, k.key, 'person') AS enc) AS e
 WHERE k.name = 'main'
 ORDER BY i.country;
-- Another tweak or another key gives another result.
SELECT nidmask.encrypt('FR', '269037511604241', k.key, 'person') <> nidmask.encrypt('FR', '269037511604241', k.key, 'staff') AS tweak_matters,
       nidmask.encrypt('FR', '269037511604241', k.key) <> nidmask.encrypt('FR', '269037511604241', o.key) AS key_matters,
       nidmask.encrypt('FR', '269037511604241', k.key) = nidmask.encrypt('FR', '269037511604241', k.key, '') AS empty_tweak_default
  FROM keys k, keys o WHERE k.name = 'main' AND o.name = 'other';
-- A key of the wrong length: the error says its length, never its bytes.
SELECT nidmask.encrypt('FR', '269037511604241', substring(key FROM 1 FOR 31)) FROM keys WHERE name = 'main';
SELECT nidmask.decrypt('FR', '269037511604241', key || '\x00'::bytea) FROM keys WHERE name = 'main';
-- Rejected values follow on_reject as with mask.
SELECT nidmask.encrypt('FR', '385057800608491', key) FROM keys WHERE name = 'main';
SELECT nidmask.encrypt('FR', '385057800608491', key, 'person', '{"on_reject": "null"}') IS NULL AS rejected_is_null
  FROM keys WHERE name = 'main';
