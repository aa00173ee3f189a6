// SPDX-License-Identifier: Apache-2.0
// Made by web/generate.mjs from web/page-api.json: don't edit.
//
// Types of the plug-in element and its messages. Take them into a script with
//   /// <reference path="zelumo.d.ts" />
// or, from the npm package, with "types": ["zelumo-tv/types"] in tsconfig.json.

declare const zelumoText: unique symbol;

/** JSON text of a T: `JSON.parse` gives a T. */
type ZelumoText<T> = string & { readonly [zelumoText]: T };

/** A request as JSON text: made by the client's `json`, which checks its type, or any text. */
type ZelumoInput<T> = ZelumoText<T> | (string & { readonly [zelumoText]?: undefined });

interface JSON {
  /** Throws for the empty text, where there may be one. */
  parse<T>(text: ZelumoText<T> | ""): T;
}

/** What a message can be made of; anything else makes the element throw a DataCloneError. */
type ZelumoValue = undefined | null | boolean | number | string | ZelumoValue[] | { [key: string]: ZelumoValue };

/** A request without members. */
interface ZelumoEmptyRequest {
}

/** Names a channel. */
interface ZelumoServiceRequest {
  /** The channel's service id, decimal. */
  TCServiceId: string;
}

/** A channel that was found. */
interface ZelumoServiceReference {
  /** The channel's service id, decimal. */
  TCServiceId: string;
}

/** Names a provider's service. */
interface ZelumoProviderRequest {
  /** The provider. */
  provider: string;
  /** The provider's name for the service. */
  service: string;
}

/** Names a programme. */
interface ZelumoProgramRequest {
  /** The programme's id. */
  programId: string;
}

/** Names a channel and a span of time: from now on and for six hours by default, at most for seven days. */
interface ZelumoProgramListRequest {
  /** The channel's service id, decimal. */
  TCServiceId: string;
  /** Start of the span, milliseconds since 1970. */
  from?: number;
  /** End of the span, milliseconds since 1970. */
  to?: number;
}

/** A programme of the guide. */
interface ZelumoProgram {
  /** The programme's id. */
  programId: string;
  /** The channel's service id, decimal. */
  TCServiceId: string;
  /** The title. */
  title: string;
  /** What it is about. */
  synopsis: string;
  /** The genre. */
  genre: string;
  /** The start, milliseconds since 1970. */
  startTime: number;
  /** The end, milliseconds since 1970. */
  endTime: number;
}

/** One programme. */
interface ZelumoProgramReply {
  /** The programme. */
  program: ZelumoProgram;
}

/** The programmes of a span of time, the one that is on at its start included. */
interface ZelumoProgramList {
  /** The channel's service id, decimal. */
  TCServiceId: string;
  /** The TV's time, milliseconds since 1970. */
  now: number;
  /** The programmes in order. */
  programs: ZelumoProgram[];
}

/** What is on now and next. */
interface ZelumoPresentProgram {
  /** The channel's service id, decimal. */
  TCServiceId: string;
  /** The TV's time, milliseconds since 1970. */
  now: number;
  /** The programme that is on. */
  present: ZelumoProgram;
  /** The one after it. */
  following: ZelumoProgram;
}

/** A channel's logo. */
interface ZelumoChannelLogo {
  /** The channel's service id, decimal. */
  TCServiceId: string;
  /** The logo's URL; a data URL, unless the TV names another. */
  url: string;
}

/** A programme's picture. */
interface ZelumoProgramPicture {
  /** The programme's id. */
  programId: string;
  /** The picture as a data URL. */
  url: string;
}

/** Where a programme is found on demand. */
interface ZelumoOnDemandProgram {
  /** The programme's id. */
  programId: string;
  /** Its identifier there. */
  identifier: string;
}

/** What became of an on-demand mark. */
interface ZelumoOnDemandRemoval {
  /** The programme's id. */
  programId: string;
  /** Whether there was a mark. */
  removed: boolean;
}

/** The configuration of the streaming channels. */
interface ZelumoVirtualChannelConfig {
  /** The configuration's version. */
  version: string;
  /** The country. */
  country: string;
  /** The number of channels. */
  channels: number;
  [more: string]: unknown;
}

/** A channel of the line-up. */
interface ZelumoFeaturedChannel {
  /** The channel's service id, decimal. */
  TCServiceId: string;
  /** The channel's name. */
  name: string;
  /** The major channel number; 0 when not known. */
  major: number;
  /** The minor channel number; 0 when not known. */
  minor: number;
}

/** The line-up. */
interface ZelumoFeaturedChannels {
  /** The channels in order. */
  channels: ZelumoFeaturedChannel[];
}

/** Whether something is there. */
interface ZelumoAvailability {
  /** Whether it is there. */
  available: boolean;
}

/** A streaming channel. `Wide` is the type of what a double may not hold. */
interface ZelumoServiceListEntry<Wide = number> {
  /** The service id, 18446744073709551615 when it has none: 64 bits, so read it from the text where it may pass 2^53. */
  id: Wide;
  /** The major channel number; 65535 when not known. */
  major: number;
  /** The minor channel number; 65535 when not known. */
  minor: number;
}

/** The streaming channels. `Wide` is the type of what a double may not hold. */
interface ZelumoServiceList<Wide = number> {
  /** Always "ZELumoServices". */
  ListName: string;
  /** The channels in the TV's order; null when there are none. */
  TCServiceData: ZelumoServiceListEntry<Wide>[] | null;
}

/** A channel as the TV describes it; the TV may add members and replace these. */
interface ZelumoChannelRecord {
  /** The service id, decimal; 18446744073709551615 when it has none. */
  serviceid: string;
  /** The same. */
  serviceId: string;
  /** The channel's name. */
  channelName: string;
  /** The kind of service; -1 when not known. */
  type: number;
  /** The major channel number; 65535 when not known. */
  major: number;
  /** The minor channel number; 65535 when not known. */
  minor: number;
  /** The physical channel; 65535 when not known. */
  ptc: number;
  /** Whether the channel is locked; 65535 when not known. */
  lock: number;
  /** The programme number; 65535 when not known. */
  programNumber: number;
  /** The source; 65535 when not known. */
  sourceId: number;
  /** The original network; 65535 when not known. */
  originalNetworkId: number;
  /** The transport stream; 65535 when not known. */
  transportStreamId: number;
  /** The frequency; -1 when not known. */
  frequency: number;
  /** The tuning mode; -1 when not known. */
  tuneMode: number;
  [more: string]: unknown;
}

interface ZelumoSuccess<D> {
  code: 0;
  data: D;
  errorName?: undefined;
  errorMessage?: undefined;
}

interface ZelumoFailure<C extends number, N extends string, M extends string, D = null> {
  code: C;
  errorName: N;
  errorMessage: M;
  data: D;
}

/** Parameters and reply of each command, and its data with JSON texts parsed. */
interface ZelumoCommands {
  /** Gives the version of this interface. */
  GetVersion: {
    parameters: {};
    reply: ZelumoSuccess<"1.00">;
    data: "1.00";
  };
  /** Gives one programme of the guide. */
  GetProgram: {
    parameters: {
      /** The request as JSON text; it reaches the content service byte for byte. */
      input: ZelumoInput<ZelumoProgramRequest>;
    };
    reply:
      | ZelumoSuccess<ZelumoText<ZelumoProgramReply>>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't GetProgram", null>;
    data: ZelumoProgramReply;
  };
  /** Gives a channel's programmes between two times. */
  GetProgramList: {
    parameters: {
      /** The request as JSON text; it reaches the content service byte for byte. */
      input: ZelumoInput<ZelumoProgramListRequest>;
    };
    reply:
      | ZelumoSuccess<ZelumoText<ZelumoProgramList>>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't GetProgramList", null>;
    data: ZelumoProgramList;
  };
  /** Gives the programme that is on now on a channel, and the one after it. */
  GetPresentProgram: {
    parameters: {
      /** The request as JSON text; it reaches the content service byte for byte. */
      input: ZelumoInput<ZelumoServiceRequest>;
    };
    reply:
      | ZelumoSuccess<ZelumoText<ZelumoPresentProgram>>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't GetPresentProgram", null>;
    data: ZelumoPresentProgram;
  };
  /** Gives a channel's logo. */
  GetChannelLogo: {
    parameters: {
      /** The request as JSON text; it reaches the content service byte for byte. */
      input: ZelumoInput<ZelumoServiceRequest>;
    };
    reply:
      | ZelumoSuccess<ZelumoText<ZelumoChannelLogo>>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't GetChannelLogo", null>;
    data: ZelumoChannelLogo;
  };
  /** Gives a programme's small picture. */
  GetProgramThumbnail: {
    parameters: {
      /** The request as JSON text; it reaches the content service byte for byte. */
      input: ZelumoInput<ZelumoProgramRequest>;
    };
    reply:
      | ZelumoSuccess<ZelumoText<ZelumoProgramPicture>>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't GetProgramThumbnail", null>;
    data: ZelumoProgramPicture;
  };
  /** Gives a programme's large picture. */
  GetProgramBackground: {
    parameters: {
      /** The request as JSON text; it reaches the content service byte for byte. */
      input: ZelumoInput<ZelumoProgramRequest>;
    };
    reply:
      | ZelumoSuccess<ZelumoText<ZelumoProgramPicture>>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't GetProgramBackground", null>;
    data: ZelumoProgramPicture;
  };
  /** Marks a programme for watching on demand and gives its identifier there. */
  SetOnDemandProgram: {
    parameters: {
      /** The request as JSON text; it reaches the content service byte for byte. */
      input: ZelumoInput<ZelumoProgramRequest>;
    };
    reply:
      | ZelumoSuccess<ZelumoText<ZelumoOnDemandProgram>>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't SetOnDemandProgram", null>;
    data: ZelumoOnDemandProgram;
  };
  /** Takes a programme's on-demand mark away. */
  UnsetOnDemandProgram: {
    parameters: {
      /** The request as JSON text; it reaches the content service byte for byte. */
      input: ZelumoInput<ZelumoProgramRequest>;
    };
    reply:
      | ZelumoSuccess<ZelumoText<ZelumoOnDemandRemoval>>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't UnsetOnDemandProgram", null>;
    data: ZelumoOnDemandRemoval;
  };
  /** Gives the identifier under which a programme is found on demand. */
  GetOnDemandIdentifier: {
    parameters: {
      /** The request as JSON text; it reaches the content service byte for byte. */
      input: ZelumoInput<ZelumoProgramRequest>;
    };
    reply:
      | ZelumoSuccess<ZelumoText<ZelumoOnDemandProgram>>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't GetOnDemandIdentifier", null>;
    data: ZelumoOnDemandProgram;
  };
  /** Gives the streaming channels' configuration. */
  GetVCConfig: {
    parameters: {
      /** The request as JSON text; it reaches the content service byte for byte. */
      input: ZelumoInput<ZelumoEmptyRequest>;
    };
    reply:
      | ZelumoSuccess<ZelumoText<ZelumoVirtualChannelConfig>>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't GetVCConfig", null>;
    data: ZelumoVirtualChannelConfig;
  };
  /** Gives the channels of the line-up with their names. */
  GetFeaturedVirtualChannelInfo: {
    parameters: {
      /** The request as JSON text; it reaches the content service byte for byte. */
      input: ZelumoInput<ZelumoEmptyRequest>;
    };
    reply:
      | ZelumoSuccess<ZelumoText<ZelumoFeaturedChannels>>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't GetFeaturedVirtualChannelInfo", null>;
    data: ZelumoFeaturedChannels;
  };
  /** Finds the service id of a provider's service. */
  GetServiceIdFromOnTVProviderAndService: {
    parameters: {
      /** The request as JSON text; it reaches the content service byte for byte. */
      input: ZelumoInput<ZelumoProviderRequest>;
    };
    reply:
      | ZelumoSuccess<ZelumoText<ZelumoServiceReference>>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't GetServiceIdFromOnTVProviderAndService", null>;
    data: ZelumoServiceReference;
  };
  /** Subscribes to a content-service event or TV signal by its number; subscribing to it again fails. From the first subscription on the page also gets player events. */
  RegisterEvent: {
    parameters: {
      /** The number of the event. */
      event: number;
    };
    reply:
      | ZelumoSuccess<null>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter command is invalid", null>
      | ZelumoFailure<28, "ServiceNotAvailableError", "RegisterEvent failed", null>;
    data: null;
  };
  /** Ends a subscription; succeeds even without one. */
  UnRegisterEvent: {
    parameters: {
      /** The number of the event. */
      event: number;
    };
    reply:
      | ZelumoSuccess<null>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter command is invalid", null>
      | ZelumoFailure<28, "ServiceNotAvailableError", "UnRegisterEvent failed", null>;
    data: null;
  };
  /** Writes a text to a settings key. */
  SetStringToVconfWithKey: {
    parameters: {
      /** The text. */
      input: string;
      /** The key's name in the settings store. */
      key: string;
    };
    reply:
      | ZelumoSuccess<true>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't SetStringToVconfWithKey", null>;
    data: true;
  };
  /** Reads a text from a settings key. */
  GetStringFromVconfWithKey: {
    parameters: {
      /** The key's name in the settings store. */
      key: string;
    };
    reply:
      | ZelumoSuccess<string>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't GetStringToVconfWithKey", null>;
    data: string;
  };
  /** Writes a whole number to a settings key. */
  SetIntegerToVconfWithKey: {
    parameters: {
      /** The number. */
      input: number;
      /** The key's name in the settings store. */
      key: string;
    };
    reply:
      | ZelumoSuccess<true>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't SetIntegerToVconfWithKey", null>;
    data: true;
  };
  /** Reads a whole number from a settings key. */
  GetIntegerFromVconfWithKey: {
    parameters: {
      /** The key's name in the settings store. */
      key: string;
    };
    reply:
      | ZelumoSuccess<number>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't GetIntegerFromVconfWithKey", null>;
    data: number;
  };
  /** Writes a boolean to a settings key. */
  SetBooleanToVconfWithKey: {
    parameters: {
      /** 0 for false, any other number for true; a boolean is refused. */
      input: number;
      /** The key's name in the settings store. */
      key: string;
    };
    reply:
      | ZelumoSuccess<true>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't SetBooleanToVconfWithKey", null>;
    data: true;
  };
  /** Reads a boolean from a settings key. */
  GetBooleanFromVconfWithKey: {
    parameters: {
      /** The key's name in the settings store. */
      key: string;
    };
    reply:
      | ZelumoSuccess<0 | 1>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't GetBooleanFromVconfWithKey", null>;
    data: 0 | 1;
  };
  /** Watches a settings key: every write to it is posted to the page. Watching it again fails. */
  AddVconfCallbackWithKey: {
    parameters: {
      /** The key's name in the settings store. */
      key: string;
    };
    reply:
      | ZelumoSuccess<null>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't AddVconfCallbackWithKey", null>;
    data: null;
  };
  /** Asks whether programme information is available. */
  ZELumoProgramInfoIsAvailable: {
    parameters: {};
    reply:
      | ZelumoSuccess<ZelumoText<ZelumoAvailability>>
      | ZelumoFailure<9999, "UnknownError ", "Can't ZELumoProgramInfoIsAvailable", null>;
    data: ZelumoAvailability;
  };
  /** Tells the content service that the page has started. */
  LaunchedZELumoWebApp: {
    parameters: {};
    reply:
      | ZelumoSuccess<null>
      | ZelumoFailure<9999, "UnknownError ", "Can't LaunchedZELumoWebApp", null>;
    data: null;
  };
  /** Asks whether the TV started for the first time. */
  CheckIsFirstBootingInZELumo: {
    parameters: {};
    reply: ZelumoSuccess<boolean>;
    data: boolean;
  };
  /** Asks whether the page is entered for the first time. */
  IsFirstEntryToZelumo: {
    parameters: {};
    reply: ZelumoSuccess<boolean>;
    data: boolean;
  };
  /** Asks whether the TV came out of suspend. */
  IsInstantOn: {
    parameters: {};
    reply: ZelumoSuccess<boolean>;
    data: boolean;
  };
  /** Asks whether the viewer agreed to the collection of viewing data. */
  GetViewingAgreement: {
    parameters: {};
    reply: ZelumoSuccess<boolean>;
    data: boolean;
  };
  /** Asks for the first-use state in one go. */
  CheckFirstBootInZELumo: {
    parameters: {};
    reply:
      | ZelumoSuccess<{ isFirstEntry: boolean; isInstantOn: boolean }>
      | ZelumoFailure<9999, "UnknownError ", "Can't CheckFirstBootInZELumo", null>;
    data: { isFirstEntry: boolean; isInstantOn: boolean };
  };
  /** Makes the content service start over, as if the page had never been started. */
  RestartZelumoInfo: {
    parameters: {};
    reply:
      | ZelumoSuccess<null>
      | ZelumoFailure<9999, "UnknownError ", "Can't RestartZelumoInfo", null>;
    data: null;
  };
  /** Describes a channel by its service id. */
  ExtractServiceInformationsFromServiceId: {
    parameters: {
      /** The service id in decimal digits; reading stops at the first other character, and no digits give 0. */
      serviceId: string;
    };
    reply:
      | ZelumoSuccess<{ TCServiceId: string; IsForDirectTune: boolean; EChannelType: number; "channel number": number; "service profile": number; major: number; minor: number; "program number": number }>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter input is invalid", null>
      | ZelumoFailure<9999, "UnknownError ", "Can't ExtractServiceInformationsFromServiceId", null>;
    data: { TCServiceId: string; IsForDirectTune: boolean; EChannelType: number; "channel number": number; "service profile": number; major: number; minor: number; "program number": number };
  };
  /** Gives the page's application id and address. */
  GetAppIDAndURL: {
    parameters: {};
    reply:
      | ZelumoSuccess<{ appID: string; URL: string }>
      | ZelumoFailure<9999, "UnknownError ", "Can't GetAppIDAndURL", null>;
    data: { appID: string; URL: string };
  };
  /** Lists the streaming channels. */
  GetZELumoServices: {
    parameters: {};
    reply:
      | ZelumoSuccess<ZelumoText<ZelumoServiceList>>
      | ZelumoFailure<28, "ServiceNotAvailableError", "GetZELumoServices failed", null>;
    data: ZelumoServiceList<string>;
  };
  /** Tunes to a channel. */
  SetServiceByServiceid: {
    parameters: {
      /** The service id: decimal, hexadecimal after 0x, octal after 0. */
      Serviceid: string;
      /** The application id handed to the TV; empty when absent or not a string. */
      Appid?: string;
    };
    reply:
      | ZelumoSuccess<null>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter Serviceid is invalid", null>
      | ZelumoFailure<28, "ServiceNotAvailableError", "SetChannelByServiceid failed", null>;
    data: null;
  };
  /** Gives the record of the channel that the TV shows. */
  GetCurrentChannelInfo: {
    parameters: {};
    reply:
      | ZelumoSuccess<ZelumoText<ZelumoChannelRecord> | "">
      | ZelumoFailure<28, "ServiceNotAvailableError", "GetCurrentChannelInfo failed", null>;
    data: ZelumoChannelRecord | null;
  };
  /** Tunes to the next channel of the line-up. */
  SetNextService: {
    parameters: {};
    reply: ZelumoSuccess<boolean>;
    data: boolean;
  };
  /** Tunes to the previous channel of the line-up. */
  SetPreviousService: {
    parameters: {};
    reply: ZelumoSuccess<boolean>;
    data: boolean;
  };
  /** Creates a player for a stream; the commands after it go to that player. */
  Init: {
    parameters: {
      /** The stream's address. */
      url: string;
      /** Where to start, in seconds, not milliseconds; passed on to the player service unchecked. One outside the stream means its nearer end; of a live stream 0 is the live edge. */
      timeOffset: number;
      /** The kind of player; 0 when absent. */
      playerType?: number;
      /** The kind of content protection; used only together with drmData. */
      drmType?: string;
      /** The content-protection data; used only together with drmType. Where the browser plays: JSON with licenseServer, headers, clearKeys. */
      drmData?: string;
    };
    reply:
      | ZelumoSuccess<true>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter is invalid", false>;
    data: true;
  };
  /** Starts the player. */
  Play: {
    parameters: {};
    reply: ZelumoSuccess<boolean>;
    data: boolean;
  };
  /** Pauses the player. */
  Pause: {
    parameters: {};
    reply: ZelumoSuccess<boolean>;
    data: boolean;
  };
  /** Goes on after a pause. */
  Resume: {
    parameters: {};
    reply: ZelumoSuccess<boolean>;
    data: boolean;
  };
  /** Seeks forward from the present position. */
  JumpForward: {
    parameters: {
      /** How far, in seconds; a negative number goes back. */
      sec: number;
    };
    reply:
      | ZelumoSuccess<boolean>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter is invalid", false>;
    data: boolean;
  };
  /** Seeks backward from the present position. */
  JumpBackward: {
    parameters: {
      /** How far, in seconds; a negative number goes forward. */
      sec: number;
    };
    reply:
      | ZelumoSuccess<boolean>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter is invalid", false>;
    data: boolean;
  };
  /** Seeks to a position. */
  Seek: {
    parameters: {
      /** The position from the start, in seconds. */
      sec: number;
    };
    reply:
      | ZelumoSuccess<boolean>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter is invalid", false>;
    data: boolean;
  };
  /** Stops the player. */
  Stop: {
    parameters: {};
    reply: ZelumoSuccess<boolean>;
    data: boolean;
  };
  /** Calls nothing and answers false. */
  PasueLive: {
    parameters: {};
    reply: ZelumoSuccess<false>;
    data: false;
  };
  /** Goes to the live edge of a live stream. */
  ResumeLive: {
    parameters: {
      /** Why, for the log. */
      reason: string;
    };
    reply:
      | ZelumoSuccess<boolean>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter is invalid", false>;
    data: boolean;
  };
  /** Places the video on the screen. */
  SetDisplayRect: {
    parameters: {
      /** Left edge, in screen pixels. */
      x: number;
      /** Upper edge, in screen pixels. */
      y: number;
      /** Width, in screen pixels. */
      width: number;
      /** Height, in screen pixels. */
      height: number;
    };
    reply:
      | ZelumoSuccess<boolean>
      | ZelumoFailure<26, "InvalidValuesError", "Parameter is invalid", false>;
    data: boolean;
  };
  /** Gives the id of the player's window. */
  GetPlayerWindowID: {
    parameters: {};
    reply: ZelumoSuccess<0>;
    data: 0;
  };
}

type ZelumoCommand = keyof ZelumoCommands;
type ZelumoParameters<C extends ZelumoCommand> = ZelumoCommands[C]["parameters"];
type ZelumoRequest<C extends ZelumoCommand> = { command: C } & ZelumoParameters<C>;
/** What the element answers: success or one of the command's failures, told apart by `code`. */
type ZelumoReply<C extends ZelumoCommand> = ZelumoCommands[C]["reply"];
/** The data of the success reply as they travel: JSON texts are texts. */
type ZelumoReplyData<C extends ZelumoCommand> = Extract<ZelumoReply<C>, { code: 0 }>["data"];
/** What a command gives: the data of its success reply, JSON texts parsed. Ids too long for a double are decimal texts. */
type ZelumoData<C extends ZelumoCommand> = ZelumoCommands[C]["data"];

/** Content-service events and TV signals, by the name under which they are posted. */
interface ZelumoEvents {
  /** Content was read from the database. */
  PLOOMIA_EVENT_GET_CONTENT_FROM_DATABASE_COMPLETE: { event: 90000 };
  /** Content arrived from the server. */
  PLOOMIA_EVENT_GET_CONTENT_FROM_SERVER_COMPLETE: { event: 90001 };
  /** Recommendations arrived from the server. */
  PLOOMIA_EVENT_GET_RECOMMENDATION_FROM_SERVER_COMPLETE: { event: 90002 };
  /** Today's page arrived from the server. */
  PLOOMIA_EVENT_GET_TODAY_FROM_SERVER_COMPLETE: { event: 90003 };
  /** The certification rules were cached. */
  PLOOMIA_EVENT_CACHE_CERTRULE_COMPLETE: { event: 90004 };
  /** The operator information was set. */
  PLOOMIA_EVENT_MSO_INFO_SET: { event: 90007 };
  /** The operator information was reset. */
  PLOOMIA_EVENT_MSO_INFO_RESET: { event: 90008 };
  /** The programme guide was activated. */
  PLOOMIA_EVENT_ACTIVATE_PROGRAM_GUIDE_DONE: { event: 90009 };
  /** The programme guide was deactivated. */
  PLOOMIA_EVENT_DEACTIVATE_PROGRAM_GUIDE_DONE: { event: 90010 };
  /** The timeline was activated. */
  PLOOMIA_EVENT_ACTIVATE_TIMELINE_DONE: { event: 90011 };
  /** A further part of the programme map was loaded. */
  PLOOMIA_EVENT_LOAD_ADDITIONAL_PROGRAM_MAP_FROM_SERVER_DONE: { event: 90012 };
  /** A thumbnail was downloaded. */
  PLOOMIA_EVENT_THUMBNAIL_DOWNLOAD_DONE: { event: 90013 };
  /** The streaming channels were loaded. */
  PLOMMIA_EVENT_GET_VIRTUAL_SERVICES_COMPLETE: { event: 90014 };
  /** The streaming channels' programmes were loaded. */
  PLOMMIA_EVENT_GET_VIRTUAL_PROGRAMMES_COMPLETE: { event: 90015 };
  /** Service information arrived. */
  PLOMIA_EVENT_GET_SI_INFO: { event: 90016 };
  /** Reminders that no longer hold were deleted. */
  PLOMMIA_EVENT_DELETE_INVALID_ZELUMO_REMIND_ITEMS: { event: 90017 };
  /** A channel is loading. */
  ITVS_Signal_ZELumo_Control_State_ChLoad: {
    event: 90019;
    /** The current channel's record; empty as in the reply to GetCurrentChannelInfo, and where that would fail. */
    ch_info: ZelumoText<ZelumoChannelRecord> | "";
    /** What GetPresentProgram gives for that channel; empty where that would fail. */
    program_info: ZelumoText<ZelumoPresentProgram> | "";
  };
  /** The TV has entered a channel. */
  ITVS_Signal_ZELumo_Control_State_ChEnter: { event: 90020 };
  /** The channel pauses. */
  ITVS_Signal_ZELumo_Control_State_ChPause: { event: 90021 };
  /** The channel goes on. */
  ITVS_Signal_ZELumo_Control_State_ChResume: { event: 90022 };
  /** The TV leaves a channel. */
  ITVS_Signal_ZELumo_Control_State_ChLeave: { event: 90023 };
  /** The TV comes out of suspend. */
  ITVS_Signal_Instant_On: { event: 90027 };
  /** The TV goes into suspend; also posted when the power service says so, subscribed or not. */
  ITVS_Signal_Instant_Off: { event: 90028 };
  /** The viewer entered the PIN that ends a mute. It needs no subscription. */
  ITVS_Signal_Unmute_by_pincode_input: { event: 99999 };
}

type ZelumoEventName = keyof ZelumoEvents;
type ZelumoParsedText<T> = T extends ZelumoText<infer U> ? U : T extends "" ? null : T;
/** An event's data with its JSON texts parsed; null where they are empty. */
type ZelumoEventData<Name extends ZelumoEventName> = {
  [K in keyof ZelumoEvents[Name]]: ZelumoParsedText<ZelumoEvents[Name][K]>;
};

/** Player events, by the number of their type. */
interface ZelumoPlayerEvents {
  /** InitComplete. The player is ready. param1: The report's first value, decimal, followed by "<BMS_PLAYER-0.5". */
  32: { name: "InitComplete"; param1: string; param2: "" };
  /** PauseComplete. The player has paused. */
  33: { name: "PauseComplete"; param1: ""; param2: "" };
  /** ResumeComplete. The player goes on. */
  34: { name: "ResumeComplete"; param1: ""; param2: "" };
  /** SeekComplete. A seek, or the way to the live edge, is done. param1: The position in milliseconds, decimal. param2: The duration in milliseconds, decimal. */
  35: { name: "SeekComplete"; param1: string; param2: string };
  /** StopSuccess. The player has stopped. */
  36: { name: "StopSuccess"; param1: ""; param2: "" };
  /** ContentRangeOver. A seek went outside the stream. */
  37: { name: "ContentRangeOver"; param1: ""; param2: "" };
  /** EndOfStream. The stream is at its end. */
  97: { name: "EndOfStream"; param1: ""; param2: "" };
  /** Error. The player failed. */
  98: { name: "Error"; param1: ""; param2: "" };
  /** Buffering. The player is filling its buffer. param1: How much is buffered in percent, decimal. */
  131: { name: "Buffering"; param1: string; param2: "" };
  /** FileNotFound. There is no stream at the address. */
  134: { name: "FileNotFound"; param1: ""; param2: "" };
  /** CurrentPosition. The position, once a second of playing time. param1: The position in milliseconds, decimal. param2: The duration in milliseconds, decimal. */
  137: { name: "CurrentPosition"; param1: string; param2: string };
  /** BeginOfStream. Playing begins. */
  144: { name: "BeginOfStream"; param1: ""; param2: "" };
  /** GetWindowID. The player's window was asked for. No player off the TV sends it. */
  200: { name: "GetWindowID"; param1: ""; param2: "" };
  /** GetInitInfo. The player's first data are there. No player off the TV sends it. */
  201: { name: "GetInitInfo"; param1: ""; param2: "" };
}

type ZelumoPlayerEventType = keyof ZelumoPlayerEvents;
type ZelumoPlayerEventName = ZelumoPlayerEvents[ZelumoPlayerEventType]["name"];
type ZelumoPlayerTypeOf<Name extends ZelumoPlayerEventName> = {
  [Type in ZelumoPlayerEventType]: ZelumoPlayerEvents[Type]["name"] extends Name ? Type : never;
}[ZelumoPlayerEventType];

/** The five keys of every posted answer and service message. */
interface ZelumoPosted<Name extends string, D, C extends number = 0, N extends string = "", M extends string = ""> {
  event?: undefined;
  command: Name;
  code: C;
  errorName: N;
  errorMessage: M;
  data: D;
}

/**
 * The answer to a message that was posted without waiting: it is always refused. One that names no command of the plug-in
 * has that name instead.
 */
type ZelumoRefusal =
  | ZelumoPosted<"", null, 26, "InvalidValuesError", "Incoming message is invalid">
  | ZelumoPosted<"", null, 26, "InvalidValuesError", "Parameter command is invalid">
  | ZelumoPosted<ZelumoCommand, null, 9, "NotSupportedError", "Parameters is invalid">;

/** An event or a TV signal; one without a name comes under the empty text. */
type ZelumoEventMessage =
  | { [Name in ZelumoEventName]: ZelumoPosted<Name, ZelumoEvents[Name]> }[ZelumoEventName]
  | ZelumoPosted<"", { event: number }>;

/** A settings key's name. Those of a TV are paths. */
type ZelumoSettingKey = `${string}/${string}`;

/** A watched settings key was written, whether or not its value changed: the key is both the message's name and its data. The value is read with the getter of its type. */
type ZelumoSettingMessage = ZelumoPosted<ZelumoSettingKey, ZelumoSettingKey>;

/** A report of the player service. Reports reach the page from its first event subscription on: one that came before the page's first RegisterEvent is dropped, not kept, so a page subscribes before its first Init. */
type ZelumoPlayerMessage = {
  [Type in ZelumoPlayerEventType]: {
    command?: undefined;
    event: "ZELUMO_EVENT";
    type: Type;
    param1: ZelumoPlayerEvents[Type]["param1"];
    param2: ZelumoPlayerEvents[Type]["param2"];
  };
}[ZelumoPlayerEventType];

/** All that the plug-in posts, told apart by `command`, or by `event` and `type` where it is the player's. */
type ZelumoMessage = ZelumoRefusal | ZelumoEventMessage | ZelumoSettingMessage | ZelumoPlayerMessage;

interface ZelumoElementEventMap {
  message: MessageEvent<ZelumoMessage>;
  /** In a browser: the TV host is gone, or another page has the TV. */
  zelumolost: CustomEvent<{ page: null; reason: "unreachable" | "refused" | "replaced" }>;
  /** In a browser: the plug-in was opened again. */
  zelumoopen: CustomEvent<{ page: number }>;
}

/** `<embed type="application/x-zelumo">`, however a page comes by it: `createElement("embed")`, a query, a ref in JSX. */
interface HTMLEmbedElement {
  /** Posts a message and goes on; the plug-in refuses it with a posted answer. */
  postMessage(message: ZelumoValue): void;
  /** Sends a message and waits for the reply. */
  postMessageAndAwaitResponse<C extends ZelumoCommand>(message: ZelumoRequest<C>): ZelumoReply<C>;
  addEventListener<K extends keyof ZelumoElementEventMap>(
    type: K,
    listener: (this: HTMLEmbedElement, event: ZelumoElementEventMap[K]) => unknown,
    options?: boolean | AddEventListenerOptions,
  ): void;
  removeEventListener<K extends keyof ZelumoElementEventMap>(
    type: K,
    listener: (this: HTMLEmbedElement, event: ZelumoElementEventMap[K]) => unknown,
    options?: boolean | EventListenerOptions,
  ): void;
}

type ZelumoElement = HTMLEmbedElement;

interface ParentNode {
  querySelector(selectors: 'embed[type="application/x-zelumo"]'): ZelumoElement | null;
  querySelectorAll(selectors: 'embed[type="application/x-zelumo"]'): NodeListOf<ZelumoElement>;
}
