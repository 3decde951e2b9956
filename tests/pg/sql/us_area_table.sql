-- The United States area table is the provider's for the whole process:
-- the first United States call of a backend chooses it.
SELECT nidmask.mask('US', '123-45-6789', '{"area_table": 2008}') AS first;
SELECT nidmask.mask('US', '123-45-6789', '{"area_table": "2008", "separator": "none"}') AS same_table;
SELECT nidmask.mask('US', '123-45-6789');
SELECT nidmask.mask_ssn('123-45-6789');
SELECT nidmask.random('US', '{"area_table": 2006}');
-- Other countries are not concerned.
SELECT nidmask.mask('CA', '046454286') AS canada;
