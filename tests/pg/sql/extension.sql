-- The extension and what every function promises the planner.
CREATE EXTENSION nidmask;
SELECT extname, extversion, extrelocatable, extnamespace::regnamespace AS schema
  FROM pg_extension WHERE extname = 'nidmask';
-- provolatile: i immutable, v volatile; proparallel: s safe, r restricted
SELECT p.proname, pg_get_function_identity_arguments(p.oid) AS arguments,
       p.provolatile, p.proisstrict, p.proparallel, p.prorettype::regtype AS returns
  FROM pg_proc p JOIN pg_namespace n ON n.oid = p.pronamespace
 WHERE n.nspname = 'nidmask'
 ORDER BY 1, 2;
