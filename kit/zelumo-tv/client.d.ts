// SPDX-License-Identifier: Apache-2.0
// The page's client: client.js.
/// <reference path="./zelumo.d.ts" />

/** A command that failed. Its message names the command. */
export class ZelumoError<C extends ZelumoCommand = ZelumoCommand> extends Error {
  readonly command: C;
  readonly code: number;
  readonly errorName: string;
  readonly errorMessage: string;
  readonly data: null | boolean;
  constructor(command: C, reply: { code: number; errorName: string; errorMessage: string; data: null | boolean });
}

/** The numbers of events, for registerEvent and unRegisterEvent. */
export const events: {
  // made: events, by web/generate.mjs from web/page-api.json
  readonly PLOOMIA_EVENT_GET_CONTENT_FROM_DATABASE_COMPLETE: 90000;
  readonly PLOOMIA_EVENT_GET_CONTENT_FROM_SERVER_COMPLETE: 90001;
  readonly PLOOMIA_EVENT_GET_RECOMMENDATION_FROM_SERVER_COMPLETE: 90002;
  readonly PLOOMIA_EVENT_GET_TODAY_FROM_SERVER_COMPLETE: 90003;
  readonly PLOOMIA_EVENT_CACHE_CERTRULE_COMPLETE: 90004;
  readonly PLOOMIA_EVENT_MSO_INFO_SET: 90007;
  readonly PLOOMIA_EVENT_MSO_INFO_RESET: 90008;
  readonly PLOOMIA_EVENT_ACTIVATE_PROGRAM_GUIDE_DONE: 90009;
  readonly PLOOMIA_EVENT_DEACTIVATE_PROGRAM_GUIDE_DONE: 90010;
  readonly PLOOMIA_EVENT_ACTIVATE_TIMELINE_DONE: 90011;
  readonly PLOOMIA_EVENT_LOAD_ADDITIONAL_PROGRAM_MAP_FROM_SERVER_DONE: 90012;
  readonly PLOOMIA_EVENT_THUMBNAIL_DOWNLOAD_DONE: 90013;
  readonly PLOMMIA_EVENT_GET_VIRTUAL_SERVICES_COMPLETE: 90014;
  readonly PLOMMIA_EVENT_GET_VIRTUAL_PROGRAMMES_COMPLETE: 90015;
  readonly PLOMIA_EVENT_GET_SI_INFO: 90016;
  readonly PLOMMIA_EVENT_DELETE_INVALID_ZELUMO_REMIND_ITEMS: 90017;
  readonly ITVS_Signal_ZELumo_Control_State_ChLoad: 90019;
  readonly ITVS_Signal_ZELumo_Control_State_ChEnter: 90020;
  readonly ITVS_Signal_ZELumo_Control_State_ChPause: 90021;
  readonly ITVS_Signal_ZELumo_Control_State_ChResume: 90022;
  readonly ITVS_Signal_ZELumo_Control_State_ChLeave: 90023;
  readonly ITVS_Signal_Instant_On: 90027;
  readonly ITVS_Signal_Instant_Off: 90028;
  // made
};

/** JSON text of a value, for a command's input. */
export function json<T>(value: T): ZelumoText<T>;

/** Ends what `on` began. */
export type Stop = () => void;

/**
 * The commands as methods, which send at once. Each promise resolves with the command's data, JSON texts parsed, or rejects with
 * a ZelumoError. Ids too long for a double are decimal texts.
 */
export interface ZelumoClient {
  /** JSON text of a value, for a command's input. */
  json<T>(value: T): ZelumoText<T>;

  /**
   * Hears an event or a TV signal, to which it subscribes unless the page has; the last handler's stop ends that. The data's JSON
   * texts are parsed, null where they are empty. Throws a TypeError where nothing is posted under that name.
   */
  on<Name extends ZelumoEventName>(name: Name, handler: (data: ZelumoEventData<Name>) => void): Stop;
  /** Hears one kind of the player's events. */
  on<Name extends ZelumoPlayerEventName>(name: Name, handler: (event: Extract<ZelumoPlayerMessage, { type: ZelumoPlayerTypeOf<Name> }>) => void): Stop;
  /** Hears all of the player's events. */
  on(name: "ZELUMO_EVENT", handler: (event: ZelumoPlayerMessage) => void): Stop;
  /** Hears that a settings key was written, and watches it unless the page does. */
  on(name: ZelumoSettingKey, handler: (key: ZelumoSettingKey) => void): Stop;

  // made: methods, likewise
  /** Gives the version of this interface. */
  getVersion(): Promise<ZelumoData<"GetVersion">>;

  /** Gives one programme of the guide. */
  getProgram(request: ZelumoProgramRequest | ZelumoText<ZelumoProgramRequest> | string): Promise<ZelumoData<"GetProgram">>;

  /** Gives a channel's programmes between two times. */
  getProgramList(request: ZelumoProgramListRequest | ZelumoText<ZelumoProgramListRequest> | string): Promise<ZelumoData<"GetProgramList">>;

  /** Gives the programme that is on now on a channel, and the one after it. */
  getPresentProgram(request: ZelumoServiceRequest | ZelumoText<ZelumoServiceRequest> | string): Promise<ZelumoData<"GetPresentProgram">>;

  /** Gives a channel's logo. */
  getChannelLogo(request: ZelumoServiceRequest | ZelumoText<ZelumoServiceRequest> | string): Promise<ZelumoData<"GetChannelLogo">>;

  /** Gives a programme's small picture. */
  getProgramThumbnail(request: ZelumoProgramRequest | ZelumoText<ZelumoProgramRequest> | string): Promise<ZelumoData<"GetProgramThumbnail">>;

  /** Gives a programme's large picture. */
  getProgramBackground(request: ZelumoProgramRequest | ZelumoText<ZelumoProgramRequest> | string): Promise<ZelumoData<"GetProgramBackground">>;

  /** Marks a programme for watching on demand and gives its identifier there. */
  setOnDemandProgram(request: ZelumoProgramRequest | ZelumoText<ZelumoProgramRequest> | string): Promise<ZelumoData<"SetOnDemandProgram">>;

  /** Takes a programme's on-demand mark away. */
  unsetOnDemandProgram(request: ZelumoProgramRequest | ZelumoText<ZelumoProgramRequest> | string): Promise<ZelumoData<"UnsetOnDemandProgram">>;

  /** Gives the identifier under which a programme is found on demand. */
  getOnDemandIdentifier(request: ZelumoProgramRequest | ZelumoText<ZelumoProgramRequest> | string): Promise<ZelumoData<"GetOnDemandIdentifier">>;

  /** Gives the streaming channels' configuration. */
  getVCConfig(request?: ZelumoEmptyRequest | ZelumoText<ZelumoEmptyRequest> | string): Promise<ZelumoData<"GetVCConfig">>;

  /** Gives the channels of the line-up with their names. */
  getFeaturedVirtualChannelInfo(request?: ZelumoEmptyRequest | ZelumoText<ZelumoEmptyRequest> | string): Promise<ZelumoData<"GetFeaturedVirtualChannelInfo">>;

  /** Finds the service id of a provider's service. */
  getServiceIdFromOnTVProviderAndService(request: ZelumoProviderRequest | ZelumoText<ZelumoProviderRequest> | string): Promise<ZelumoData<"GetServiceIdFromOnTVProviderAndService">>;

  /** Subscribes to a content-service event or TV signal by its number; subscribing to it again fails. From the first subscription on the page also gets player events. */
  registerEvent(parameters: ZelumoParameters<"RegisterEvent">): Promise<ZelumoData<"RegisterEvent">>;

  /** Ends a subscription; succeeds even without one. */
  unRegisterEvent(parameters: ZelumoParameters<"UnRegisterEvent">): Promise<ZelumoData<"UnRegisterEvent">>;

  /** Writes a text to a settings key. */
  setStringToVconfWithKey(parameters: ZelumoParameters<"SetStringToVconfWithKey">): Promise<ZelumoData<"SetStringToVconfWithKey">>;

  /** Reads a text from a settings key. */
  getStringFromVconfWithKey(parameters: ZelumoParameters<"GetStringFromVconfWithKey">): Promise<ZelumoData<"GetStringFromVconfWithKey">>;

  /** Writes a whole number to a settings key. */
  setIntegerToVconfWithKey(parameters: ZelumoParameters<"SetIntegerToVconfWithKey">): Promise<ZelumoData<"SetIntegerToVconfWithKey">>;

  /** Reads a whole number from a settings key. */
  getIntegerFromVconfWithKey(parameters: ZelumoParameters<"GetIntegerFromVconfWithKey">): Promise<ZelumoData<"GetIntegerFromVconfWithKey">>;

  /** Writes a boolean to a settings key. */
  setBooleanToVconfWithKey(parameters: ZelumoParameters<"SetBooleanToVconfWithKey">): Promise<ZelumoData<"SetBooleanToVconfWithKey">>;

  /** Reads a boolean from a settings key. */
  getBooleanFromVconfWithKey(parameters: ZelumoParameters<"GetBooleanFromVconfWithKey">): Promise<ZelumoData<"GetBooleanFromVconfWithKey">>;

  /** Watches a settings key: every write to it is posted to the page. Watching it again fails. */
  addVconfCallbackWithKey(parameters: ZelumoParameters<"AddVconfCallbackWithKey">): Promise<ZelumoData<"AddVconfCallbackWithKey">>;

  /** Asks whether programme information is available. */
  zeLumoProgramInfoIsAvailable(): Promise<ZelumoData<"ZELumoProgramInfoIsAvailable">>;

  /** Tells the content service that the page has started. */
  launchedZELumoWebApp(): Promise<ZelumoData<"LaunchedZELumoWebApp">>;

  /** Asks whether the TV started for the first time. */
  checkIsFirstBootingInZELumo(): Promise<ZelumoData<"CheckIsFirstBootingInZELumo">>;

  /** Asks whether the page is entered for the first time. */
  isFirstEntryToZelumo(): Promise<ZelumoData<"IsFirstEntryToZelumo">>;

  /** Asks whether the TV came out of suspend. */
  isInstantOn(): Promise<ZelumoData<"IsInstantOn">>;

  /** Asks whether the viewer agreed to the collection of viewing data. */
  getViewingAgreement(): Promise<ZelumoData<"GetViewingAgreement">>;

  /** Asks for the first-use state in one go. */
  checkFirstBootInZELumo(): Promise<ZelumoData<"CheckFirstBootInZELumo">>;

  /** Makes the content service start over, as if the page had never been started. */
  restartZelumoInfo(): Promise<ZelumoData<"RestartZelumoInfo">>;

  /** Describes a channel by its service id. */
  extractServiceInformationsFromServiceId(parameters: ZelumoParameters<"ExtractServiceInformationsFromServiceId">): Promise<ZelumoData<"ExtractServiceInformationsFromServiceId">>;

  /** Gives the page's application id and address. */
  getAppIDAndURL(): Promise<ZelumoData<"GetAppIDAndURL">>;

  /** Lists the streaming channels. */
  getZELumoServices(): Promise<ZelumoData<"GetZELumoServices">>;

  /** Tunes to a channel. */
  setServiceByServiceid(parameters: ZelumoParameters<"SetServiceByServiceid">): Promise<ZelumoData<"SetServiceByServiceid">>;

  /** Gives the record of the channel that the TV shows. */
  getCurrentChannelInfo(): Promise<ZelumoData<"GetCurrentChannelInfo">>;

  /** Tunes to the next channel of the line-up. */
  setNextService(): Promise<ZelumoData<"SetNextService">>;

  /** Tunes to the previous channel of the line-up. */
  setPreviousService(): Promise<ZelumoData<"SetPreviousService">>;

  /** Creates a player for a stream; the commands after it go to that player. */
  init(parameters: ZelumoParameters<"Init">): Promise<ZelumoData<"Init">>;

  /** Starts the player. */
  play(): Promise<ZelumoData<"Play">>;

  /** Pauses the player. */
  pause(): Promise<ZelumoData<"Pause">>;

  /** Goes on after a pause. */
  resume(): Promise<ZelumoData<"Resume">>;

  /** Seeks forward from the present position. */
  jumpForward(parameters: ZelumoParameters<"JumpForward">): Promise<ZelumoData<"JumpForward">>;

  /** Seeks backward from the present position. */
  jumpBackward(parameters: ZelumoParameters<"JumpBackward">): Promise<ZelumoData<"JumpBackward">>;

  /** Seeks to a position. */
  seek(parameters: ZelumoParameters<"Seek">): Promise<ZelumoData<"Seek">>;

  /** Stops the player. */
  stop(): Promise<ZelumoData<"Stop">>;

  /** Calls nothing and answers false. */
  pasueLive(): Promise<ZelumoData<"PasueLive">>;

  /** Goes to the live edge of a live stream. */
  resumeLive(parameters: ZelumoParameters<"ResumeLive">): Promise<ZelumoData<"ResumeLive">>;

  /** Places the video on the screen. */
  setDisplayRect(parameters: ZelumoParameters<"SetDisplayRect">): Promise<ZelumoData<"SetDisplayRect">>;

  /** Gives the id of the player's window. */
  getPlayerWindowID(): Promise<ZelumoData<"GetPlayerWindowID">>;
  // made
}

/** The client of a plug-in element, the same one each time; throws a TypeError where there is none. */
export function connect(element: ZelumoElement | null): ZelumoClient;
