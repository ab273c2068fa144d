{ Every method that a late-bound Pascal client can call, against the registered server. Last line "DONE n checks". }
program PascalClient;

{$mode objfpc}{$H+}

uses
  Checks, ServerTests, CollectionTests, ItemTests, GroupTests, EventTests;

begin
  TestServer;
  TestCollections;
  TestItems;
  TestGroups;
  TestEvents;
  Summary;
end.
