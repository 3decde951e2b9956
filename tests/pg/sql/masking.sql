-- Masking values of every country, with the defaults and with options.
SELECT country, value, nidmask.mask(country, value) AS masked
  FROM (VALUES ('FR', '269037511604241'), ('fr', '1850578006084-91'), ('IT', 'RSSMRA85T10A562S'),
               ('IT', 'BNC-LRA-70M52-H501Y'), ('UK', 'AB123456C'), ('GB', 'JG-103759-A'),
               ('ES', '12345678Z'), ('US', '123-45-6789'), ('US', '042 68 4187'),
               ('CA', '046454286'), ('CA', '130-692-544')) AS v(country, value);
-- Deterministic: the same value gives the same result, whatever the call.
SELECT nidmask.mask('FR', '269037511604241') = nidmask.mask('fr', '269037511604241', '{}') AS same;
-- The shorthands are mask() with a country and the default options.
SELECT nidmask.mask_nir('269037511604241') = nidmask.mask('FR', '269037511604241') AS nir,
       nidmask.mask_cf('RSSMRA85T10A562S') = nidmask.mask('IT', 'RSSMRA85T10A562S') AS cf,
       nidmask.mask_nino('AB123456C') = nidmask.mask('UK', 'AB123456C') AS nino,
       nidmask.mask_nif('12345678Z') = nidmask.mask('ES', '12345678Z') AS nif,
       nidmask.mask_ssn('123-45-6789') = nidmask.mask('US', '123-45-6789') AS ssn,
       nidmask.mask_sin('046454286') = nidmask.mask('CA', '046454286') AS sin;
-- Numeric columns: bigint in, bigint out; zero passes through unchanged.
SELECT nidmask.mask_ssn(123456789::bigint) AS ssn, nidmask.mask_sin(46454286::bigint) AS sin,
       nidmask.mask_ssn(0::bigint) AS zero, pg_typeof(nidmask.mask_sin(130692544::bigint)) AS type;
SELECT nidmask.mask_ssn(-123456789::bigint);
SELECT nidmask.mask_sin(1234567890123::bigint);
-- NULL gives NULL; empty and blank values pass through unchanged.
SELECT nidmask.mask('FR', NULL) IS NULL AS null_value, nidmask.mask(NULL, '269037511604241') IS NULL AS null_country,
       nidmask.mask('FR', '269037511604241', NULL) IS NULL AS null_options,
       nidmask.mask('FR', '') AS empty, '[' || nidmask.mask('US', '   ') || ']' AS blank;
-- A rejected value: an ERROR by default (its text shows two characters and
-- the length, never the value), NULL or the value itself when asked.
SELECT nidmask.mask('FR', '385057800608491');
SELECT nidmask.mask('FR', '385057800608491', '{"on_reject": "error"}');
SELECT nidmask.mask('FR', '385057800608491', '{"on_reject": "null"}') IS NULL AS rejected_is_null,
       nidmask.mask('FR', '385057800608491', '{"on_reject": "keep"}') AS kept,
       nidmask.mask('FR', '385057800608491', '{"pass_invalid": true}') AS passed;
-- Values that pass through are returned unchanged whatever on_reject says.
SELECT nidmask.mask('FR', '', '{"on_reject": "null"}') AS empty,
       nidmask.mask('FR', '385057800608491', '{"pass_invalid": true, "on_reject": "null"}') AS passed;
-- Full validation rejects what the default checks let through.
-- (185057800608492 has a wrong check key.)
SELECT nidmask.mask('FR', '185057800608492', '{"on_reject": "null"}') AS masked,
       nidmask.mask('FR', '185057800608492', '{"validate": true, "on_reject": "null"}') IS NULL AS rejected;
-- An ERROR rolls the whole statement back.
CREATE TABLE person (id int, nir text);
INSERT INTO person VALUES (1, '269037511604241'), (2, '385057800608491'), (3, '185057800608492');
UPDATE person SET nir = nidmask.mask('FR', nir);
SELECT id, nir FROM person ORDER BY id;
UPDATE person SET nir = nidmask.mask('FR', nir, '{"on_reject": "null"}');
SELECT id, nir FROM person ORDER BY id;
-- Options: the keys of a rules-file rule.
SELECT nidmask.mask('FR', '269037511604241', '{"parts": "sex,year", "separator": "space"}') AS fr,
       nidmask.mask('UK', 'AB123456C', '{"form": 5, "separator": "dash"}') AS uk5,
       nidmask.mask('UK', 'AB123456C', '{"form": "3"}') AS uk3,
       nidmask.mask('IT', 'RSSMRA85T10A562S', '{"parts": "names"}') AS it,
       nidmask.mask('US', '123-45-6789', '{"separator": "none"}') AS us,
       nidmask.mask('FR', '269037511604241', '{"official": true}') AS official;
SELECT nidmask.mask('FR', '269037511604241', '{"colour": "blue"}');
SELECT nidmask.mask('FR', '269037511604241', '{"validate": "yes"}');
SELECT nidmask.mask('FR', '269037511604241', '{"separator": "slash"}');
SELECT nidmask.mask('FR', '269037511604241', '{"on_reject": "drop"}');
SELECT nidmask.mask('FR', '269037511604241', '{"parts": "sex,area"}');
SELECT nidmask.mask('FR', '269037511604241', '{"form": 5}');
SELECT nidmask.mask('FR', '269037511604241', '{"area_table": 2008}');
SELECT nidmask.mask('FR', '269037511604241', '[1, 2]');
SELECT nidmask.mask('XX', '269037511604241');
-- Random values: well formed, different, and never from a parallel worker.
SELECT count(*) AS generated, count(DISTINCT v) > 95 AS distinct_enough, bool_and(nidmask.is_valid('FR', v)) AS valid
  FROM (SELECT nidmask.random('FR') AS v FROM generate_series(1, 100)) AS g;
SELECT bool_and(v ~ '^[0-9]{3} [0-9]{2} [0-9]{4}$') AS spaced
  FROM (SELECT nidmask.random('US', '{"separator": "space"}') AS v FROM generate_series(1, 20)) AS g;
SELECT nidmask.random('XX');
-- Many rules in one statement: more than the backend keeps set up at once.
SELECT count(DISTINCT nidmask.mask('FR', '269037511604241', jsonb_build_object('parts', p))) AS results
  FROM unnest(ARRAY['sex', 'year', 'month', 'dept', 'commune', 'sex,year', 'sex,month', 'sex,dept', 'sex,commune',
                    'year,month', 'year,dept', 'year,commune', 'month,dept', 'month,commune', 'dept,commune',
                    'sex,year,month', 'sex,year,dept', 'sex,year,commune', 'year,month,dept']) AS p,
       generate_series(1, 3);
-- More call sites than set-up instances: each row finds its instance gone
-- and sets it up again, with the same results.
SELECT count(DISTINCT ROW(a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q)) AS distinct_rows, min(q) AS last
  FROM (VALUES ('269037511604241'), ('269037511604241'), ('269037511604241')) AS s(v),
       LATERAL (SELECT nidmask.mask('FR', v, '{"parts": "sex"}') AS a, nidmask.mask('FR', v, '{"parts": "year"}') AS b,
                       nidmask.mask('FR', v, '{"parts": "month"}') AS c, nidmask.mask('FR', v, '{"parts": "dept"}') AS d,
                       nidmask.mask('FR', v, '{"parts": "commune"}') AS e, nidmask.mask('FR', v, '{"parts": "sex,year"}') AS f,
                       nidmask.mask('FR', v, '{"parts": "sex,month"}') AS g, nidmask.mask('FR', v, '{"parts": "sex,dept"}') AS h,
                       nidmask.mask('FR', v, '{"parts": "sex,commune"}') AS i, nidmask.mask('FR', v, '{"parts": "year,month"}') AS j,
                       nidmask.mask('FR', v, '{"parts": "year,dept"}') AS k, nidmask.mask('FR', v, '{"parts": "year,commune"}') AS l,
                       nidmask.mask('FR', v, '{"parts": "month,dept"}') AS m, nidmask.mask('FR', v, '{"parts": "month,commune"}') AS n,
                       nidmask.mask('FR', v, '{"parts": "dept,commune"}') AS o, nidmask.mask('FR', v, '{"separator": "space"}') AS p,
                       nidmask.mask('FR', v) AS q) AS masked;
