// Made by scripts/make-reference.mjs from the router's tables: don't edit it.

import type { Answers, CallOptions, MayStayOpen, Success } from './calls.js';

export type KOBUSpeedTestResult = {
  /** The address of the server. */
  ip?: string;
  /** 0 unknown, 1 excellent to 6 unusable. */
  quality: number;
  /** Packets lost on the way to the server, 0 to 1. */
  upLostRate: number;
  /** Packets lost on the way from the server, 0 to 1. */
  downLostRate: number;
  /** How long the way to the server and back takes. In ms. */
  rtt: number;
};

export type KOBUQualityInfo = {
  /** The user. */
  userId?: string;
  /** 0 unknown, 1 excellent to 6 unusable. */
  quality: number;
};

export type KOBULocalStatistics = {
  /** Width of the picture. In pixels. */
  width: number;
  /** Height of the picture. In pixels. */
  height: number;
  /** How many pictures come. In frames/s. */
  frameRate: number;
  /** Bit rate of the picture. In kbit/s. */
  videoBitrate: number;
  /** Sampling rate of the sound. In Hz. */
  audioSampleRate: number;
  /** Bit rate of the sound. In kbit/s. */
  audioBitrate: number;
  /** 0 the camera, 1 its small picture, 2 the screen. */
  streamType: number;
};

export type KOBURemoteStatistics = {
  /** Who sends the stream. */
  userId?: string;
  /** Packets of this stream that are lost. In percent. */
  packetLoss: number;
  /** Width of the picture. In pixels. */
  width: number;
  /** Height of the picture. In pixels. */
  height: number;
  /** How many pictures come. In frames/s. */
  frameRate: number;
  /** Bit rate of the picture. In kbit/s. */
  videoBitrate: number;
  /** Sampling rate of the sound. In Hz. */
  audioSampleRate: number;
  /** Bit rate of the sound. In kbit/s. */
  audioBitrate: number;
  /** How long what arrives is held back before it is played. In ms. */
  jitterBufferDelay: number;
  /** 0 the camera, 1 its small picture, 2 the screen. */
  streamType: number;
};

export type KOBUStatistics = {
  /** Processor load of the application. In percent. */
  appCpu: number;
  /** Processor load of the whole device. In percent. */
  systemCpu: number;
  /** How long the way to the server and back takes. In ms. */
  rtt: number;
  /** Packets lost on the way to the server. In percent. */
  upLoss: number;
  /** Packets lost on the way from the server. In percent. */
  downLoss: number;
  /** Sent since the room was entered. In bytes. */
  sentBytes: number;
  /** Received since the room was entered. In bytes. */
  receivedBytes: number;
  /** Each stream that the own user sends. */
  localStatistics: KOBULocalStatistics[];
  /** Each stream that is received. */
  remoteStatistics: KOBURemoteStatistics[];
};

export type KOBUVolumeInfo = {
  /** The user. */
  userId?: string;
  /** How loud the user is, 0 to 100. */
  volume: number;
};

/** What each command takes and gives; its method says what it does. */
export interface Commands {
  registCallBacks: {
    params: {
      /** The events that the page wants from now on, each with its function. */
      callbacks: {
        /** The event. */
        sdkcbName?: string;
        /** The page function that receives it. */
        jsRecvcbName?: string;
      }[];
    };
    result: Success;
    answered: 'once';
    errorCode: -1;
  };
  initSDK: {
    params: Record<string, never>;
    result: Success;
    answered: 'once';
    errorCode: -2;
  };
  setLogParams: {
    params: {
      /** How much the engine logs, by the engine's numbers. */
      logLevel?: number;
      /** Whether the engine logs to the console too. */
      consoleEnable?: boolean;
      /** Whether the engine compresses its log files. */
      compressEnable?: boolean;
      /** The folder of the engine's log files. */
      logDirPath?: string;
    };
    result: Success;
    answered: 'once';
    errorCode: never;
  };
  getSDKVersion: {
    params: Record<string, never>;
    result: {
      /** The engine's version. */
      version: string;
    };
    answered: 'once';
    errorCode: never;
  };
  uninitSDK: {
    params: Record<string, never>;
    result: Success;
    answered: 'once';
    errorCode: never;
  };
  enterRoom: {
    params: {
      /** The scene of the room, by the engine's numbers. */
      appScene: number;
      /** Whether the other users are heard without a further command. Default: true. */
      autoRecvAudio?: boolean;
      /**
       * Whether the pictures of the other users are received without a further command. Default:
       * true.
       */
      autoRecvVideo?: boolean;
      /** The application, as the engine knows it. Default: 0. Of the record KOBUParams. */
      sdkAppId?: number;
      /** The own user. Of the record KOBUParams. */
      userId?: string;
      /** The user's signature; a secret. Of the record KOBUParams. */
      userSig?: string;
      /** The room. Default: 0. Of the record KOBUParams. */
      roomId?: number;
      /**
       * 20 anchor (sends and receives), 21 audience (receives). Default: 20. Of the record
       * KOBUParams.
       */
      role?: number;
    };
    result: {
      /** The own user; "(null)" without one. */
      userId: string;
      /** The time that entering took; negative: the engine's code of a failure. In ms. */
      elapsed: number;
    };
    answered: 'later';
    errorCode: number;
  };
  exitRoom: {
    params: Record<string, never>;
    result: {
      /** The own user; "(null)" without one. */
      userId: string;
      /** Why: 0 left, 1 removed by the server, 2 the room was dismissed. */
      reason: number;
    };
    answered: 'later';
    errorCode: -2;
  };
  showBugView: {
    params: {
      /** What the panel shows, by the engine's numbers; 0 hides it. */
      showType: number;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  setDebugViewMargin: {
    params: {
      /** The user. */
      userId?: string;
      /** Distance from the view's upper edge. In points. Default: 0. */
      top?: number;
      /** Distance from the view's left edge. In points. Default: 0. */
      left?: number;
      /** Distance from the view's lower edge. In points. Default: 0. */
      bottom?: number;
      /** Distance from the view's right edge. In points. Default: 0. */
      right?: number;
    };
    result: Success;
    answered: 'once';
    errorCode: -2;
  };
  switchRole: {
    params: {
      /** 20 anchor (sends and receives), 21 audience (receives). */
      role: number;
    };
    result: Success;
    answered: 'once';
    errorCode: number;
  };
  setNetworkQosParam: {
    params: {
      /**
       * What is given up first, by the engine's numbers. Default: 0. Of the record
       * KOBUNetworkQosParam.
       */
      preference?: number;
      /** Who decides, by the engine's numbers. Default: 0. Of the record KOBUNetworkQosParam. */
      controlMode?: number;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  setVideoEncoderParam: {
    params: {
      /** Width of the picture. In pixels. Default: 0. Of the record KOBUVideoEncParam. */
      width?: number;
      /** Height of the picture. In pixels. Default: 0. Of the record KOBUVideoEncParam. */
      height?: number;
      /** How often a picture is sent. In frames/s. Default: 15. Of the record KOBUVideoEncParam. */
      fps?: number;
      /** Bit rate to aim at. In kbit/s. Default: 0. Of the record KOBUVideoEncParam. */
      bitrate?: number;
      /** Bit rate not to fall below. In kbit/s. Default: 0. Of the record KOBUVideoEncParam. */
      minBitrate?: number;
      /**
       * Whether the engine may change the resolution. Default: false. Of the record
       * KOBUVideoEncParam.
       */
      adjustResolution?: boolean;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  startLocalPreview: {
    params: {
      /** True the front camera, false the back one. Default: true. */
      frontCamera?: boolean;
    };
    result: Success;
    answered: 'later';
    errorCode: -1 | -2 | -1314;
  };
  switchCamera: {
    params: {
      /** True the front camera, false the back one. Default: false. */
      frontCamera?: boolean;
    };
    result: Success;
    answered: 'once';
    errorCode: -2;
  };
  setLocalPreviewParams: {
    params: {
      /**
       * How the picture is turned. In quarter turns clockwise. Default: 0. Of the record
       * KOBURenderParams.
       */
      rotation?: number;
      /** 0 fills the view, 1 fits into it. Default: 0. Of the record KOBURenderParams. */
      fillMode?: number;
      /** 0 automatic, 1 mirrored, 2 not mirrored. Default: 0. Of the record KOBURenderParams. */
      mirrorType?: number;
      /**
       * Another name of "fillMode"; where both are given, this one counts. Of the record
       * KOBURenderParams.
       */
      mode?: number;
      /**
       * Another name of "mirrorType"; where both are given, this one counts. Of the record
       * KOBURenderParams.
       */
      mirror?: number;
      /** How the sent picture is turned. In quarter turns clockwise. */
      encoderRotation?: number;
      /** Whether the sent picture is mirrored. */
      encoderMirror?: boolean;
      /** How the picture turns with the device, by the engine's numbers. */
      sensorMode?: number;
    };
    result: Success;
    answered: 'once';
    errorCode: -2;
  };
  enableEncSmallVideoStream: {
    params: {
      /** Whether the small picture is sent. */
      enable?: boolean;
      /** Width of the picture. In pixels. Default: 0. Of the record KOBUVideoEncParam. */
      width?: number;
      /** Height of the picture. In pixels. Default: 0. Of the record KOBUVideoEncParam. */
      height?: number;
      /** How often a picture is sent. In frames/s. Default: 15. Of the record KOBUVideoEncParam. */
      fps?: number;
      /** Bit rate to aim at. In kbit/s. Default: 0. Of the record KOBUVideoEncParam. */
      bitrate?: number;
      /** Bit rate not to fall below. In kbit/s. Default: 0. Of the record KOBUVideoEncParam. */
      minBitrate?: number;
      /**
       * Whether the engine may change the resolution. Default: false. Of the record
       * KOBUVideoEncParam.
       */
      adjustResolution?: boolean;
    };
    result: Success;
    answered: 'once';
    errorCode: -2;
  };
  setRemoteVideoStreamType: {
    params: {
      /** The user. */
      userId: string;
      /** 0 the camera's main picture, 1 its small one. */
      type: number;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  stopLocalPreview: {
    params: Record<string, never>;
    result: Success;
    answered: 'once';
    errorCode: -2;
  };
  muteLocalVideo: {
    params: {
      /** True mutes, false ends that. */
      mute: boolean;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  startLocalAudio: {
    params: {
      /** 1 speech, 2 default, 3 music. From 1 to 3. Default: 2. */
      quality?: number;
    };
    result: Success;
    answered: 'later';
    errorCode: -2 | -1317;
  };
  stopLocalAudio: {
    params: Record<string, never>;
    result: Success;
    answered: 'once';
    errorCode: -2;
  };
  muteLocalAudio: {
    params: {
      /** True mutes, false ends that. */
      mute: boolean;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  startRemoteView: {
    params: {
      /** The user. */
      userId: string;
      /** 0 the camera, 1 its small picture, 2 the screen. From 0 to 2. Default: 0. */
      streamType?: number;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  setRemotePreviewParams: {
    params: {
      /** The user. */
      userId?: string;
      /** 0 the camera, 1 its small picture, 2 the screen. From 0 to 2. Default: 0. */
      streamType?: number;
      /**
       * How the picture is turned. In quarter turns clockwise. Default: 0. Of the record
       * KOBURenderParams.
       */
      rotation?: number;
      /** 0 fills the view, 1 fits into it. Default: 0. Of the record KOBURenderParams. */
      fillMode?: number;
      /** 0 automatic, 1 mirrored, 2 not mirrored. Default: 0. Of the record KOBURenderParams. */
      mirrorType?: number;
      /**
       * Another name of "fillMode"; where both are given, this one counts. Of the record
       * KOBURenderParams.
       */
      mode?: number;
      /**
       * Another name of "mirrorType"; where both are given, this one counts. Of the record
       * KOBURenderParams.
       */
      mirror?: number;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  stopRemoteView: {
    params: {
      /** The user. */
      userId: string;
      /** 0 the camera, 1 its small picture, 2 the screen. From 0 to 2. Default: 0. */
      streamType?: number;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  stopAllRemoteView: {
    params: Record<string, never>;
    result: Success;
    answered: 'once';
    errorCode: -2;
  };
  muteRemoteVideoStream: {
    params: {
      /** The user. */
      userId: string;
      /** True mutes, false ends that. */
      mute: boolean;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  muteAllRemoteVideoStreams: {
    params: {
      /** True mutes, false ends that. */
      mute: boolean;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  muteRemoteAudio: {
    params: {
      /** The user. */
      userId: string;
      /** True mutes, false ends that. */
      mute: boolean;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  muteAllRemoteAudio: {
    params: {
      /** True mutes, false ends that. */
      mute: boolean;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  setRemoteAudioVolume: {
    params: {
      /** The user. */
      userId: string;
      /** How loud the user is played, 0 to 100. */
      volume: number;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  startRemoteSubStreamView: {
    params: {
      /** The user. */
      userId: string;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  stopRemoteSubStreamView: {
    params: {
      /** The user. */
      userId: string;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  setRemoteSubStreamPreviewParams: {
    params: {
      /** The user. */
      userId: string;
      /**
       * How the picture is turned. In quarter turns clockwise. Default: 0. Of the record
       * KOBURenderParams.
       */
      rotation?: number;
      /** 0 fills the view, 1 fits into it. Default: 0. Of the record KOBURenderParams. */
      fillMode?: number;
      /** 0 automatic, 1 mirrored, 2 not mirrored. Default: 0. Of the record KOBURenderParams. */
      mirrorType?: number;
      /**
       * Another name of "fillMode"; where both are given, this one counts. Of the record
       * KOBURenderParams.
       */
      mode?: number;
      /**
       * Another name of "mirrorType"; where both are given, this one counts. Of the record
       * KOBURenderParams.
       */
      mirror?: number;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  playMusic: {
    params: {
      /** The music, by a number that the page chooses. */
      audioId: number;
      /** The music; "audioId" replaces it. Default: 0. Of the record PWAudioMusicParam. */
      ID?: number;
      /** File path or address. Of the record PWAudioMusicParam. */
      path: string;
      /** Repetitions after the first time. Default: 0. Of the record PWAudioMusicParam. */
      loopCount?: number;
      /** Whether the other users hear it. Default: false. Of the record PWAudioMusicParam. */
      publish?: boolean;
      /** Where in the music to begin. In ms. Default: 0. Of the record PWAudioMusicParam. */
      startTimeMs?: number;
      /**
       * Where in the music to end; -1: at its end. In ms. Default: -1. Of the record
       * PWAudioMusicParam.
       */
      endTimeMs?: number;
      /** Whether the start is answered. Default: false. */
      onStart?: boolean;
      /** Whether progress is answered, each time the engine reports it. Default: false. */
      onProgress?: boolean;
      /** Whether the end is answered. Default: false. */
      onComplete?: boolean;
    };
    result: {
      /** The music. */
      audioId: number;
      /** Which answer it is: "onStart", "onProgress" or "onComplete". */
      state: string;
      /** The engine's code, 0 for success; at start and end. */
      errCode?: number;
      /** How far the music has come; in progress. In ms. */
      progressMs?: number;
      /** How long the music is; in progress. In ms. */
      durationMs?: number;
    };
    answered: 'many';
    errorCode: number;
  };
  setMusicInfo: {
    params: {
      /** The music, by a number that the page chooses. */
      audioId?: number;
      /** Where to go on playing. In ms. */
      position?: number;
      /** Volume of all music, not of this one alone, 0 to 100. */
      volume?: number;
      /** Volume of this music here, 0 to 100. */
      playoutVolume?: number;
      /** Volume of this music for the other users, 0 to 100. */
      publishVolume?: number;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  stopMusic: {
    params: {
      /** The music, by a number that the page chooses. */
      audioId: number;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  pauseMusic: {
    params: {
      /** The music, by a number that the page chooses. */
      audioId: number;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  resumeMusic: {
    params: {
      /** The music, by a number that the page chooses. */
      audioId: number;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  startSpeedTest: {
    params: {
      /** The application, as the engine knows it. */
      sdkAppId: number;
      /** The user. */
      userId: string;
      /** The user's signature; a secret. */
      userSig: string;
    };
    result: {
      /** How many servers there are. */
      totalCount: number;
      /** How many are measured. */
      completedCount: number;
      /** What was found of the server measured last. */
      result?: KOBUSpeedTestResult;
    };
    answered: 'many';
    errorCode: -1 | -2;
  };
  stopSpeedTest: {
    params: Record<string, never>;
    result: Success;
    answered: 'once';
    errorCode: -2;
  };
  enableAudioVolumeEvaluation: {
    params: {
      /** Time between two volume events; 0 turns them off. In ms. */
      interval: number;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  setVideoMuteImage: {
    params: {
      /** An absolute URL of the picture. */
      imgUrl: string;
      /** How often the picture is sent. In frames/s. From 5 to 10. Default: 5. */
      fps?: number;
    };
    result: Success;
    answered: 'later';
    errorCode: number;
  };
  getKOBUStats: {
    params: Record<string, never>;
    result: {
      /** The streams; or the text "[]". */
      RtcInfos: {
        /** Who sends the stream. */
        UserId: string;
        /** Of the picture, such as 640x360; 0x0 without one. */
        Resolution: string;
        /** Which stream: "main", "main_small", "sub", "audio" or "unknown". */
        StreamType: string;
      }[] | '[]';
    };
    answered: 'once';
    errorCode: never;
  };
  registReport: {
    params: {
      /** The page function that receives the reports. */
      reportfunc?: string;
    };
    result: Success;
    answered: 'once';
    errorCode: never;
  };
  setAudioRoute: {
    params: {
      /** Where sound is played, by the engine's numbers. */
      route: number;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  setAudioVolume: {
    params: {
      /** Volume of the microphone, 0 to 100. */
      captureVolume?: number;
      /** Volume of all that is played here, 0 to 100. */
      playoutVolume?: number;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  getAudioVolume: {
    params: {
      /** Whether to tell the microphone's volume. Default: false. */
      capture?: boolean;
      /** Whether to tell the volume of all that is played here. Default: false. */
      playout?: boolean;
    };
    result: {
      /** Volume of the microphone, if asked for. */
      captureVolume?: number;
      /** Volume of all that is played here, if asked for. */
      playoutVolume?: number;
    };
    answered: 'once';
    errorCode: -1 | -2;
  };
  callExperimentalAPI: {
    params: {
      /** A JSON text for the engine; it may be empty. */
      APIParams: string;
    };
    result: Success;
    answered: 'once';
    errorCode: -1 | -2;
  };
  isSupportScreenCapture: {
    params: Record<string, never>;
    result: {
      /**
       * What can be captured: 0 nothing, 1 the application's own screen, 2 the whole device, 3
       * both.
       */
      mode: number;
    };
    answered: 'once';
    errorCode: never;
  };
  launchScreenKit: {
    params: Record<string, never>;
    result: Success;
    answered: 'later';
    errorCode: -1;
  };
  startScreenCapture: {
    params: {
      /** 1 the application's own screen, 2 the whole device. */
      screenCaptureMode: number;
      /** Width of the picture. In pixels. Default: 0. Of the record KOBUVideoEncParam. */
      width?: number;
      /** Height of the picture. In pixels. Default: 0. Of the record KOBUVideoEncParam. */
      height?: number;
      /** How often a picture is sent. In frames/s. Default: 15. Of the record KOBUVideoEncParam. */
      fps?: number;
      /** Bit rate to aim at. In kbit/s. Default: 0. Of the record KOBUVideoEncParam. */
      bitrate?: number;
      /** Bit rate not to fall below. In kbit/s. Default: 0. Of the record KOBUVideoEncParam. */
      minBitrate?: number;
      /**
       * Whether the engine may change the resolution. Default: false. Of the record
       * KOBUVideoEncParam.
       */
      adjustResolution?: boolean;
      /**
       * The application group shared with the broadcast extension; without it, the group that the
       * host was set up with.
       */
      appGroup?: string;
    };
    result: {
      /** The own user; "(null)" without one. */
      userId: string;
      /** Always 0. */
      reason: number;
    };
    answered: 'later';
    errorCode: -1 | -2;
  };
  pauseScreenCapture: {
    params: Record<string, never>;
    result: Success;
    answered: 'once';
    errorCode: number;
  };
  resumeScreenCapture: {
    params: Record<string, never>;
    result: Success;
    answered: 'once';
    errorCode: number;
  };
  stopScreenCapture: {
    params: Record<string, never>;
    result: Success;
    answered: 'once';
    errorCode: number;
  };
}
export type CommandName = keyof Commands;

/** The codes with which the router and the engines fail; an engine may have others. */
export type FailureCode =
  -1 | -2 | -3 | -1301 | -1314 | -1317 | -3301 | -3302 | -3303 | -3304 | -3308 | -3309 | -3310
  | -3316 | -3317 | -3318 | -3319 | -3320 | -4001 | -4002 | -4003 | -100013;

/** The names of all commands, with spaces between. */
export const commandNames =
  'registCallBacks initSDK setLogParams getSDKVersion uninitSDK enterRoom exitRoom showBugView ' +
  'setDebugViewMargin switchRole setNetworkQosParam setVideoEncoderParam startLocalPreview ' +
  'switchCamera setLocalPreviewParams enableEncSmallVideoStream setRemoteVideoStreamType ' +
  'stopLocalPreview muteLocalVideo startLocalAudio stopLocalAudio muteLocalAudio startRemoteView ' +
  'setRemotePreviewParams stopRemoteView stopAllRemoteView muteRemoteVideoStream ' +
  'muteAllRemoteVideoStreams muteRemoteAudio muteAllRemoteAudio setRemoteAudioVolume ' +
  'startRemoteSubStreamView stopRemoteSubStreamView setRemoteSubStreamPreviewParams playMusic ' +
  'setMusicInfo stopMusic pauseMusic resumeMusic startSpeedTest stopSpeedTest ' +
  'enableAudioVolumeEvaluation setVideoMuteImage getKOBUStats registReport setAudioRoute ' +
  'setAudioVolume getAudioVolume callExperimentalAPI isSupportScreenCapture launchScreenKit ' +
  'startScreenCapture pauseScreenCapture resumeScreenCapture stopScreenCapture';

/** Every command as a method. */
export interface Methods {
  /**
   * Names the page functions that receive events. Each call replaces all earlier names, one that
   * fails too. An element without both names is skipped; of several for one event the last
   * counts.
   * @throws {BridgeError} -1 (JS), "no callbacks content": "callbacks" is missing or of another
   * type
   */
  registCallBacks(
    params: Commands['registCallBacks']['params'],
    options?: CallOptions,
  ): Promise<Commands['registCallBacks']['result']>;
  /**
   * Makes the engine, which most commands need. Success is answered as an error record with code
   * 0 whose text is "sdk version : " and the engine's version.
   * @throws {BridgeError} -2 (JS), "had initSDK": the engine is there already
   */
  initSDK(
    params?: Commands['initSDK']['params'],
    options?: CallOptions,
  ): Promise<Commands['initSDK']['result']>;
  /**
   * Sets the engine's own log, before "initSDK" too. What is left out or of another type stays as
   * it is.
   */
  setLogParams(
    params?: Commands['setLogParams']['params'],
    options?: CallOptions,
  ): Promise<Commands['setLogParams']['result']>;
  /** Gives the engine's version. */
  getSDKVersion(
    params?: Commands['getSDKVersion']['params'],
    options?: CallOptions,
  ): Promise<Commands['getSDKVersion']['result']>;
  /** Leaves the room and lets go of the engine; harmless without one. */
  uninitSDK(
    params?: Commands['uninitSDK']['params'],
    options?: CallOptions,
  ): Promise<Commands['uninitSDK']['result']>;
  /**
   * Enters a room. It is answered when "onEnterRoom" comes, with code 0 even for a failure: then
   * "elapsed" is negative, the engine's code. A failure that the engine also reports by one of
   * the errors that end an enter is answered before that, with the error's code and text, and the
   * room is left; other errors change nothing here.
   * It stays unanswered when another enter replaces it before the engine answers, or the engine
   * is released.
   * It is answered more than once when the engine reports an error that ends it: each such error
   * answers it, and the "onEnterRoom" that follows does so with code 0. Take the first answer.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "no appScene param": "appScene" is missing or of another type
   * @throws {BridgeError} -1 (JS), "params can't parse KOBUParams": "sdkAppId", "userId",
   * "userSig", "roomId" or "role" is of another type
   * @throws {BridgeError} another code (KOBU): the engine reports an error that ends an enter:
   * its code and text
   */
  enterRoom(
    params: Commands['enterRoom']['params'],
    options?: CallOptions,
  ): MayStayOpen<Commands['enterRoom']['result']>;
  /**
   * Leaves the room. It is answered with the event "onExitRoom".
   * It stays unanswered when another exit replaces it, the user was in no room, or the engine is
   * released.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   */
  exitRoom(
    params?: Commands['exitRoom']['params'],
    options?: CallOptions,
  ): MayStayOpen<Commands['exitRoom']['result']>;
  /**
   * Shows the engine's debug panel over the videos.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "params error": "showType" is missing or of another type
   */
  showBugView(
    params: Commands['showBugView']['params'],
    options?: CallOptions,
  ): Promise<Commands['showBugView']['result']>;
  /**
   * Sets the margins of the debug panel in one user's view. Without "userId" nothing happens, and
   * the answer is a success.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   */
  setDebugViewMargin(
    params?: Commands['setDebugViewMargin']['params'],
    options?: CallOptions,
  ): Promise<Commands['setDebugViewMargin']['result']>;
  /**
   * Becomes anchor or audience. It is answered at once, and the event "onSwitchRole" tells how
   * the switch ended. A message with a "nativecb" is answered by that event instead, with the
   * engine's code and text.
   * It stays unanswered when the message has "nativecb" and the role is neither 20 nor 21,
   * another such switch is asked for before it has ended, the room is left meanwhile, or the
   * engine is released.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -3 (JS), "not enter room": no enter has ended since the last
   * "enterRoom", "exitRoom" or "uninitSDK"
   * @throws {BridgeError} -1 (JS), "no role param": "role" is missing or of another type
   * @throws {BridgeError} another code (KOBU): the message has "nativecb" and the switch fails:
   * the engine's code and text
   */
  switchRole(
    params: Commands['switchRole']['params'],
    options?: CallOptions,
  ): MayStayOpen<Commands['switchRole']['result']>;
  /**
   * Chooses what the engine gives up first on a poor network, and who decides.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "params error": there are no params; "preference" or
   * "controlMode" is of another type
   */
  setNetworkQosParam(
    params?: Commands['setNetworkQosParam']['params'],
    options?: CallOptions,
  ): Promise<Commands['setNetworkQosParam']['result']>;
  /**
   * Sets how the own picture is encoded.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "parse KOBUVideoEncParam err": there are no params; "width",
   * "height", "fps", "bitrate", "minBitrate" or "adjustResolution" is of another type
   */
  setVideoEncoderParam(
    params?: Commands['setVideoEncoderParam']['params'],
    options?: CallOptions,
  ): Promise<Commands['setVideoEncoderParam']['result']>;
  /**
   * Starts the camera and shows it in the own view. The user is asked for permission first where
   * that is not settled; where it is denied, an alert leads to the settings.
   * It stays unanswered when the user never answers, or permits it only after the engine was
   * released.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "not set render source": the host has no source of views
   * @throws {BridgeError} -1 (KOBU), "not found self render source": the host has no view for the
   * own user
   * @throws {BridgeError} -1314 (KOBU): the user does not permit the camera; the text tells how
   * it came
   */
  startLocalPreview(
    params?: Commands['startLocalPreview']['params'],
    options?: CallOptions,
  ): MayStayOpen<Commands['startLocalPreview']['result']>;
  /**
   * Switches to the front or the back camera.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   */
  switchCamera(
    params?: Commands['switchCamera']['params'],
    options?: CallOptions,
  ): Promise<Commands['switchCamera']['result']>;
  /**
   * Sets how the own picture is drawn here, and how it is sent. The render parameters are set
   * together, with the default for those left out, unless one of them is of another type; each of
   * the others is set only when given.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   */
  setLocalPreviewParams(
    params?: Commands['setLocalPreviewParams']['params'],
    options?: CallOptions,
  ): Promise<Commands['setLocalPreviewParams']['result']>;
  /**
   * Sends a small picture beside the main one, or stops that. Without "enable", or with encoder
   * parameters of another type, nothing happens, and the answer is a success.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   */
  enableEncSmallVideoStream(
    params?: Commands['enableEncSmallVideoStream']['params'],
    options?: CallOptions,
  ): Promise<Commands['enableEncSmallVideoStream']['result']>;
  /**
   * Chooses which of a user's camera pictures is received.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "userId or type param error": "userId" is missing, empty or of
   * another type; "type" is missing or of another type
   */
  setRemoteVideoStreamType(
    params: Commands['setRemoteVideoStreamType']['params'],
    options?: CallOptions,
  ): Promise<Commands['setRemoteVideoStreamType']['result']>;
  /**
   * Stops the camera.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   */
  stopLocalPreview(
    params?: Commands['stopLocalPreview']['params'],
    options?: CallOptions,
  ): Promise<Commands['stopLocalPreview']['result']>;
  /**
   * Stops sending the camera, or sends it again. Meanwhile the others get the picture of
   * "setVideoMuteImage", if there is one.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "no mute param": "mute" is missing or of another type
   */
  muteLocalVideo(
    params: Commands['muteLocalVideo']['params'],
    options?: CallOptions,
  ): Promise<Commands['muteLocalVideo']['result']>;
  /**
   * Starts the microphone. Where its permission is not settled, the user is asked for the camera,
   * and that answer decides; where it is denied, an alert leads to the settings.
   * It stays unanswered when the user never answers, or permits it only after the engine was
   * released.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1317 (KOBU): the user does not permit the microphone; the text tells
   * how it came
   */
  startLocalAudio(
    params?: Commands['startLocalAudio']['params'],
    options?: CallOptions,
  ): MayStayOpen<Commands['startLocalAudio']['result']>;
  /**
   * Stops the microphone.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   */
  stopLocalAudio(
    params?: Commands['stopLocalAudio']['params'],
    options?: CallOptions,
  ): Promise<Commands['stopLocalAudio']['result']>;
  /**
   * Mutes the microphone for the other users, or ends that.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "no mute param": "mute" is missing or of another type
   */
  muteLocalAudio(
    params: Commands['muteLocalAudio']['params'],
    options?: CallOptions,
  ): Promise<Commands['muteLocalAudio']['result']>;
  /**
   * Shows a user's stream in the view that the host has for the user's camera, whatever the
   * stream type.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "userId param error": "userId" is missing, empty or of another
   * type
   * @throws {BridgeError} -2 (KOBU), "no render source": the host has no source of views
   * @throws {BridgeError} -2 (KOBU), "no found render view": the host has no view for the user
   */
  startRemoteView(
    params: Commands['startRemoteView']['params'],
    options?: CallOptions,
  ): Promise<Commands['startRemoteView']['result']>;
  /**
   * Sets how a user's stream is drawn. Without "userId" nothing happens, and the answer is a
   * success.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "render param error": "rotation", "fillMode", "mirrorType",
   * "mode" or "mirror" is of another type
   */
  setRemotePreviewParams(
    params?: Commands['setRemotePreviewParams']['params'],
    options?: CallOptions,
  ): Promise<Commands['setRemotePreviewParams']['result']>;
  /**
   * Stops showing a user's stream.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "userId param error": "userId" is missing, empty or of another
   * type
   */
  stopRemoteView(
    params: Commands['stopRemoteView']['params'],
    options?: CallOptions,
  ): Promise<Commands['stopRemoteView']['result']>;
  /**
   * Stops showing any other user.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   */
  stopAllRemoteView(
    params?: Commands['stopAllRemoteView']['params'],
    options?: CallOptions,
  ): Promise<Commands['stopAllRemoteView']['result']>;
  /**
   * Stops receiving a user's picture, or receives it again.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "userId or mute param error": "userId" is missing, empty or of
   * another type; "mute" is missing or of another type
   */
  muteRemoteVideoStream(
    params: Commands['muteRemoteVideoStream']['params'],
    options?: CallOptions,
  ): Promise<Commands['muteRemoteVideoStream']['result']>;
  /**
   * Stops receiving the pictures of all users, or receives them again.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "mute param error": "mute" is missing or of another type
   */
  muteAllRemoteVideoStreams(
    params: Commands['muteAllRemoteVideoStreams']['params'],
    options?: CallOptions,
  ): Promise<Commands['muteAllRemoteVideoStreams']['result']>;
  /**
   * Mutes one user here, or ends that.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "userId or mute param error": "userId" is missing, empty or of
   * another type; "mute" is missing or of another type
   */
  muteRemoteAudio(
    params: Commands['muteRemoteAudio']['params'],
    options?: CallOptions,
  ): Promise<Commands['muteRemoteAudio']['result']>;
  /**
   * Mutes all other users here, or ends that.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "mute param error": "mute" is missing or of another type
   */
  muteAllRemoteAudio(
    params: Commands['muteAllRemoteAudio']['params'],
    options?: CallOptions,
  ): Promise<Commands['muteAllRemoteAudio']['result']>;
  /**
   * Sets how loud a user is played here.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "userId or volume param error": "userId" is missing, empty or
   * of another type; "volume" is missing or of another type
   */
  setRemoteAudioVolume(
    params: Commands['setRemoteAudioVolume']['params'],
    options?: CallOptions,
  ): Promise<Commands['setRemoteAudioVolume']['result']>;
  /**
   * Shows the screen that a user shares.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "userId param error": "userId" is missing, empty or of another
   * type
   * @throws {BridgeError} -2 (KOBU), "no render source": the host has no source of views
   * @throws {BridgeError} -2 (KOBU), "no found render view": the host has no view for the user
   */
  startRemoteSubStreamView(
    params: Commands['startRemoteSubStreamView']['params'],
    options?: CallOptions,
  ): Promise<Commands['startRemoteSubStreamView']['result']>;
  /**
   * Stops showing the screen that a user shares.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "userId param error": "userId" is missing, empty or of another
   * type
   */
  stopRemoteSubStreamView(
    params: Commands['stopRemoteSubStreamView']['params'],
    options?: CallOptions,
  ): Promise<Commands['stopRemoteSubStreamView']['result']>;
  /**
   * Sets how a user's screen is drawn. Render parameters of another type are ignored, and the
   * answer is a success.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "userId param error": "userId" is missing, empty or of another
   * type
   */
  setRemoteSubStreamPreviewParams(
    params: Commands['setRemoteSubStreamPreviewParams']['params'],
    options?: CallOptions,
  ): Promise<Commands['setRemoteSubStreamPreviewParams']['result']>;
  /**
   * Plays music. The same message is answered at the start, at each progress and at the end, as
   * its flags ask for; "state" tells which it is.
   * It stays unanswered when none of its flags is true, the music is played again under its id,
   * it is stopped, or the engine is released.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "audioId param error": "audioId" is missing or of another type
   * @throws {BridgeError} -1 (JS), "path param error": "ID" is of another type; "path" is
   * missing, empty or of another type; "loopCount", "publish", "startTimeMs" or "endTimeMs" is of
   * another type
   * @throws {BridgeError} another code (KOBU), "play onStart error": the music can't be started:
   * the engine's code
   * @throws {BridgeError} another code (KOBU), "play onComplete error": the music breaks off: the
   * engine's code
   */
  playMusic(
    params: Commands['playMusic']['params'],
    options?: CallOptions,
  ): Answers<Commands['playMusic']['result']>;
  /**
   * Moves to a position in music and sets volumes. What is left out stays as it is. Without
   * "audioId" only the volume of all music is set.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "no audioId param": neither "audioId" nor "volume" is given
   */
  setMusicInfo(
    params?: Commands['setMusicInfo']['params'],
    options?: CallOptions,
  ): Promise<Commands['setMusicInfo']['result']>;
  /**
   * Stops music.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "no audioId param": "audioId" is missing or of another type
   */
  stopMusic(
    params: Commands['stopMusic']['params'],
    options?: CallOptions,
  ): Promise<Commands['stopMusic']['result']>;
  /**
   * Pauses music.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "no audioId param": "audioId" is missing or of another type
   */
  pauseMusic(
    params: Commands['pauseMusic']['params'],
    options?: CallOptions,
  ): Promise<Commands['pauseMusic']['result']>;
  /**
   * Resumes paused music.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "no audioId param": "audioId" is missing or of another type
   */
  resumeMusic(
    params: Commands['resumeMusic']['params'],
    options?: CallOptions,
  ): Promise<Commands['resumeMusic']['result']>;
  /**
   * Measures the network to each of the engine's servers. The message is answered for each
   * server, always with code 0; the text is "ing", and "done" for the last one.
   * It stays unanswered when the test is stopped, another test begins, or the engine is released
   * meanwhile.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "params error": "sdkAppId" is missing or of another type;
   * "userId" or "userSig" is missing, empty or of another type
   */
  startSpeedTest(
    params: Commands['startSpeedTest']['params'],
    options?: CallOptions,
  ): Answers<Commands['startSpeedTest']['result']>;
  /**
   * Ends a running speed test.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   */
  stopSpeedTest(
    params?: Commands['stopSpeedTest']['params'],
    options?: CallOptions,
  ): Promise<Commands['stopSpeedTest']['result']>;
  /**
   * Sets how often the event "onUserVoiceVolume" comes. Each enter sets it to 500 ms.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "no interval param": "interval" is missing or of another type
   */
  enableAudioVolumeEvaluation(
    params: Commands['enableAudioVolumeEvaluation']['params'],
    options?: CallOptions,
  ): Promise<Commands['enableAudioVolumeEvaluation']['result']>;
  /**
   * Downloads the picture that the others get while the camera is muted. A file that is no
   * picture takes an earlier picture away, and the answer is a success. After "uninitSDK" the
   * picture goes nowhere, and the answer is a success.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "imgUrl params error": "imgUrl" is missing or no absolute URL
   * @throws {BridgeError} -2 (KOBU), "download image is nil": the downloaded file can't be read
   * @throws {BridgeError} another code (KOBU): the download fails: the download's code and text
   */
  setVideoMuteImage(
    params: Commands['setVideoMuteImage']['params'],
    options?: CallOptions,
  ): Promise<Commands['setVideoMuteImage']['result']>;
  /**
   * Gives the streams that flow, by the statistics that came last, and forgets these. When none
   * have come since the last time, the text "[]" stands in place of the list.
   */
  getKOBUStats(
    params?: Commands['getKOBUStats']['params'],
    options?: CallOptions,
  ): Promise<Commands['getKOBUStats']['result']>;
  /**
   * Names the page function that is told when the camera and the microphone go on and off.
   * Without a name, no function is told.
   */
  registReport(
    params?: Commands['registReport']['params'],
    options?: CallOptions,
  ): Promise<Commands['registReport']['result']>;
  /**
   * Chooses where sound is played, such as the loudspeaker or the earpiece.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "no route param": "route" is missing or of another type
   */
  setAudioRoute(
    params: Commands['setAudioRoute']['params'],
    options?: CallOptions,
  ): Promise<Commands['setAudioRoute']['result']>;
  /**
   * Sets the volume of the microphone, of all that is played here, or of both.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "params error": neither "captureVolume" nor "playoutVolume" is
   * given
   */
  setAudioVolume(
    params?: Commands['setAudioVolume']['params'],
    options?: CallOptions,
  ): Promise<Commands['setAudioVolume']['result']>;
  /**
   * Gives the volume of the microphone, of all that is played here, or of both.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "params error": neither "capture" nor "playout" is true
   */
  getAudioVolume(
    params?: Commands['getAudioVolume']['params'],
    options?: CallOptions,
  ): Promise<Commands['getAudioVolume']['result']>;
  /**
   * Hands the engine a call for which there is no command. What the engine makes of it is not
   * answered.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "no APIParams param": "APIParams" is missing or of another
   * type
   */
  callExperimentalAPI(
    params: Commands['callExperimentalAPI']['params'],
    options?: CallOptions,
  ): Promise<Commands['callExperimentalAPI']['result']>;
  /** Gives what this system can capture. */
  isSupportScreenCapture(
    params?: Commands['isSupportScreenCapture']['params'],
    options?: CallOptions,
  ): Promise<Commands['isSupportScreenCapture']['result']>;
  /**
   * Starts the screen-broadcast extension. It is answered when the extension has started. On
   * systems before 12.0 nothing is started, and the answer is a success at once.
   * It stays unanswered when the extension does not start, another notification of the extension
   * comes before the one of its start, or another launch replaces it.
   * @throws {BridgeError} -1 (JS), "not support launchScreenKit": the system is older than 11.0
   */
  launchScreenKit(
    params?: Commands['launchScreenKit']['params'],
    options?: CallOptions,
  ): MayStayOpen<Commands['launchScreenKit']['result']>;
  /**
   * Starts to share the screen. It is answered with the event "onScreenCaptureStarted", if the
   * engine sends that on the main thread; rely on the event.
   * It stays unanswered when the engine sends the event on a thread of its own, another start
   * replaces it, the capture does not start, or the engine is released.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} -1 (JS), "screenCaptureMode not found": "screenCaptureMode" is missing
   * or none of its values
   * @throws {BridgeError} -1 (JS), "parse KOBUVideoEncParam err": "width", "height", "fps",
   * "bitrate", "minBitrate" or "adjustResolution" is of another type
   * @throws {BridgeError} -2 (JS), "not support screencapture": the system is older than 13.0 for
   * mode 1, than 11.0 for mode 2
   */
  startScreenCapture(
    params: Commands['startScreenCapture']['params'],
    options?: CallOptions,
  ): MayStayOpen<Commands['startScreenCapture']['result']>;
  /**
   * Pauses screen capture. The answer is an error record with the engine's result, 0 for success.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} another code (KOBU), "pauseScreenCapture call failed": the engine
   * refuses: its result
   * @throws {BridgeError} -2 (KOBU), "not support screencapture": the system is older than 11.0
   */
  pauseScreenCapture(
    params?: Commands['pauseScreenCapture']['params'],
    options?: CallOptions,
  ): Promise<Commands['pauseScreenCapture']['result']>;
  /**
   * Goes on with screen capture. The answer is an error record with the engine's result, 0 for
   * success.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} another code (KOBU), "resumeScreenCapture call failed": the engine
   * refuses: its result
   * @throws {BridgeError} -2 (KOBU), "not support screencapture": the system is older than 11.0
   */
  resumeScreenCapture(
    params?: Commands['resumeScreenCapture']['params'],
    options?: CallOptions,
  ): Promise<Commands['resumeScreenCapture']['result']>;
  /**
   * Ends screen capture. The answer is an error record with the engine's result, 0 for success.
   * @throws {BridgeError} -2 (JS), "not initSDK": there is no engine
   * @throws {BridgeError} another code (KOBU), "stopScreenCapture call failed": the engine
   * refuses: its result
   * @throws {BridgeError} -2 (KOBU), "not support screencapture": the system is older than 11.0
   */
  stopScreenCapture(
    params?: Commands['stopScreenCapture']['params'],
    options?: CallOptions,
  ): Promise<Commands['stopScreenCapture']['result']>;
}

/** The events that a page can register for, each with its payload. */
export interface Events {
  /**
   * The engine reports an error. One of those that end an enter also answers "enterRoom", and the
   * room is left.
   */
  onError: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
    /** The engine's code; 0 is success. */
    errCode: number;
    /** The engine's text, without line breaks; "(null)" without one. */
    errMsg: string;
    /** What the engine adds, as it gives it; empty when it adds nothing. */
    extInfo: Record<string, unknown>;
  };
  /** The engine reports trouble that does not stop it. */
  onWarning: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
    /** The engine's code, as an unsigned 32-bit number. */
    warningCode: number;
    /** The engine's text, without line breaks; "(null)" without one. */
    warningMsg: string;
    /** What the engine adds, as it gives it; empty when it adds nothing. */
    extInfo: Record<string, unknown>;
  };
  /** Entering a room has ended, well or not. Answers "enterRoom". */
  onEnterRoom: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
    /** The time that entering took; negative: the engine's code of a failure. In ms. */
    elapsed: number;
  };
  /** The own user has left the room. Answers "exitRoom". */
  onExitRoom: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
    /** Why: 0 left, 1 removed by the server, 2 the room was dismissed. */
    reason: number;
  };
  /** A switch of the own role has ended, well or not. Answers a "switchRole" that has "nativecb". */
  onSwitchRole: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
    /** The scene of the room; 0 outside one. */
    appScene: number;
    /**
     * The own role as the router knows it: that of the enter, or of the last successful switch
     * with "nativecb" or by the application; a plain "switchRole" does not change it; 0 outside a
     * room.
     */
    fromRole: number;
    /**
     * The role that a switch with "nativecb" or by the application asked for; says nothing of a
     * plain "switchRole"; 0 outside a room.
     */
    toRole: number;
    /** The engine's code; 0 is success. */
    errCode: number;
    /** The engine's text, without line breaks; "(null)" without one. */
    errMsg: string;
  };
  /** Another user has come into the room as an anchor, or become one. */
  onRemoteUserEnterRoom: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
    /** The other user. */
    remoteUserId: string;
  };
  /** Another user has left the room, or is an anchor no longer. */
  onRemoteUserLeaveRoom: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
    /** The other user. */
    remoteUserId: string;
    /** Why: 0 left, 1 lost its connection, 2 removed by the server, 3 became audience. */
    reason: number;
  };
  /** Sound is played somewhere else now. */
  onAudioRouteChanged: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
    /** Where sound is played now, by the engine's numbers. */
    route: number;
    /** Where it was played before, by the same numbers. */
    fromRoute: number;
  };
  /** Another user starts or stops sending sound. */
  onUserAudioAvailable: {
    /** The other user. */
    availableUserId: string;
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
    /** Whether the user sends it now. */
    available: boolean;
  };
  /** Another user starts or stops sending the camera. */
  onUserVideoAvailable: {
    /** The other user. */
    availableUserId: string;
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
    /** Whether the user sends it now. */
    available: boolean;
  };
  /** Another user starts or stops sharing the screen. */
  onUserSubStreamAvailable: {
    /** The other user. */
    availableUserId: string;
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
    /** Whether the user sends it now. */
    available: boolean;
  };
  /** How good the network is for each user. It comes again and again. */
  onNetworkQuality: {
    /** The own user; empty outside a room. */
    userId: string;
    /** The own user's; absent when the engine gives none. */
    localQuality?: KOBUQualityInfo;
    /** Each other user's; absent when the engine gives none. */
    remoteQuality?: KOBUQualityInfo[];
  };
  /** What the engine measured of the connection and of each stream. It comes again and again. */
  onStatistics: {
    /** What was measured; absent when the engine gives nothing. */
    statistics?: KOBUStatistics;
    /** The own user; absent outside a room. */
    userId?: string;
  };
  /**
   * How loud everyone is, at the interval of "enableAudioVolumeEvaluation". It comes again and
   * again.
   */
  onUserVoiceVolume: {
    /** How loud all are together, 0 to 100. */
    totalVolume: number;
    /** Each user who is heard, the own one included. */
    userVolumes?: KOBUVolumeInfo[];
  };
  /** The connection to the server is lost. */
  onConnectionLost: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
  };
  /** The engine tries to connect again. */
  onTryToReconnect: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
  };
  /** The connection to the server is back. */
  onConnectionRecovery: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
  };
  /** The first picture of a stream is shown. */
  onFirstVideoFrame: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
    /** The other user. */
    remoteUserId: string;
    /** 0 the camera, 1 its small picture, 2 the screen. */
    streamType: number;
    /** Width of the picture. In pixels. */
    width: number;
    /** Height of the picture. In pixels. */
    height: number;
  };
  /** The first sound of another user is played. */
  onFirstAudioFrame: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
    /** The other user. */
    remoteUserId: string;
  };
  /** The first picture of an own stream is sent. */
  onSendFirstLocalVideoFrame: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
    /** 0 the camera, 1 its small picture, 2 the screen. */
    streamType: number;
  };
  /** The first sound of the microphone is sent. */
  onSendFirstLocalAudioFrame: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
  };
  /** The camera runs. */
  onCameraDidReady: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
  };
  /** The microphone runs. */
  onMicDidReady: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
  };
  /**
   * Screen capture has started. Answers "startScreenCapture" when the engine sends it on the main
   * thread.
   */
  onScreenCaptureStarted: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
    /** Always 0. */
    reason: number;
  };
  /** Screen capture has paused. */
  onScreenCapturePaused: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
    /** Why, by the engine's numbers. */
    reason: number;
  };
  /** Screen capture goes on after a pause. */
  onScreenCaptureResumed: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
    /** Why, by the engine's numbers. */
    reason: number;
  };
  /** Screen capture has ended. */
  onScreenCaptureStoped: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
    /** Why, by the engine's numbers. */
    reason: number;
  };
  /**
   * The screen-broadcast extension has started, paused, resumed or finished. That it has started
   * answers "launchScreenKit".
   */
  onScreenKitEvent: {
    /** The own user, without line breaks; "(null)" outside a room. */
    userId: string;
    /** What happened: "started", "paused", "resumed" or "finished". */
    event: string;
  };
}
export type EventName = keyof Events;
